// RW/RWCollectable.h: the base of every object kept in the RW collections
// (RWOrdered, RWSortedVector), and of Dicom_Msg.
//
// The virtual operations are declared in a fixed order (the dispatch
// table that subclasses rely on). Defaults:
//   newSpecies()        null (a class that can be created anew overrides it)
//   copy()              newSpecies()
//   isA()               RW_COLLECTABLE_ID
//   self()              this
//   binaryStoreSize()   0 (nothing to store)
//   compareTo(p)        identity: 0 when p is this object, otherwise an
//                       arbitrary but consistent order of addresses
//   hash()              derived from the address
//   isEqual(p)          compareTo(p) == 0
//   restoreGuts/saveGuts  do nothing
// Derived classes that have a value override compareTo, hash and isEqual
// together.
#pragma once

#include <RW/RWDefs.h>
#include <RW/RWFile.h>
#include <RW/RWvstream.h>

class RWCollectable {
public:
    RWCollectable() = default;
    RWCollectable(const RWCollectable&) = default;
    RWCollectable& operator=(const RWCollectable&) = default;

    virtual RWCollectable* newSpecies() const;
    virtual RWCollectable* copy() const;
    virtual RWClassID isA() const;
    virtual const RWCollectable* self() const;
    virtual RWCollectable* self();
    virtual ~RWCollectable();
    virtual RWspace binaryStoreSize() const;
    virtual int compareTo(const RWCollectable* other) const;
    virtual unsigned hash() const;
    virtual bool isEqual(const RWCollectable* other) const;
    virtual void restoreGuts(RWvistream& stream);
    virtual void restoreGuts(RWFile& file);
    virtual void saveGuts(RWvostream& stream) const;
    virtual void saveGuts(RWFile& file) const;
};
