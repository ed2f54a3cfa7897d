// Definitions shared by the classes of the IOD tree (private to src/IOD).
//
// IOD_Msg is a virtual base: every constructor names it, so that the most-derived class builds
// the one message of the object; the base-class constructor it calls next does the same, which
// the language skips when that base is not the most-derived class. Apart from the secondary
// capture default constructor, constructors only forward their arguments.
#pragma once

#include <IOD/IOD_Msg.h>

#include <initializer_list>

class IOD_Image;

// Default, copy and buffer constructors and the destructor.
#define IOD_DEFINE_COPY_AND_BUFFER_CONSTRUCTORS(CLASS, BASE)                           \
    CLASS::CLASS(const CLASS& other) : IOD_Msg(other), BASE(other) {}                  \
    CLASS::CLASS(void* buffer, unsigned int length, int copy, int* status)             \
        : IOD_Msg(buffer, length, copy, status), BASE(buffer, length, copy, status) {} \
    CLASS::~CLASS() = default;
#define IOD_DEFINE_CONSTRUCTORS(CLASS, BASE) \
    CLASS::CLASS() : IOD_Msg(), BASE() {}    \
    IOD_DEFINE_COPY_AND_BUFFER_CONSTRUCTORS(CLASS, BASE)

// The buffer constructors with a transfer syntax and with a transfer-syntax UID.
#define IOD_DEFINE_SYNTAX_CONSTRUCTOR(CLASS, BASE)                                                \
    CLASS::CLASS(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, \
                 int* status)                                                                     \
        : IOD_Msg(buffer, length, copy, syntax, status), BASE(buffer, length, copy, syntax, status) {}
#define IOD_DEFINE_UID_CONSTRUCTOR(CLASS, BASE)                                                  \
    CLASS::CLASS(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, \
                 int* status)                                                                    \
        : IOD_Msg(buffer, length, copy, transferSyntaxUid, status, false, false),                \
          BASE(buffer, length, copy, transferSyntaxUid, status) {}

// Copy assignment: the one shared body (IOD_IOD::assign_message).
#define IOD_DEFINE_ASSIGNMENT(CLASS)              \
    CLASS& CLASS::operator=(const CLASS& other) { \
        assign_message(other);                    \
        return *this;                             \
    }

// The verdict of an IsValid: 1 when every check returned non-zero. The checks are the elements
// of a braced list, which the language evaluates in order: every check runs, none is skipped.
inline int IOD_AllChecksPassed(std::initializer_list<int> results) {
    int valid = 1;
    for (int r : results) {
        if (r == 0) valid = 0;
    }
    return valid;
}

// IsValid of the digital X-ray, intra-oral, mammography, RT and visible light images: patient,
// general study, general series, general equipment, general image and image pixel; no SOP
// common check.
int IOD_ProjectionImageIsValid(const IOD_Image& image);
