// CFG/CFG_SubTree.h: one node of the configuration repository.
//
// A subtree is a JSON object of the repository document. Its children are the members whose
// values are objects, in document order; its values are the members whose values are strings,
// numbers or booleans, read as text (a number as it is written in the document, a boolean as
// "true" or "false"). Members holding arrays or null are neither.
//
// Subtrees belong to their repository (CFG_RepositoryServices) and live as long as it does; the
// process-wide repository of CFG_Factory lives until the process ends. A subtree never changes
// once the repository is loaded, so every member may be called from any thread without a lock.
#pragma once

#include <RW/RWCString.h>
#include <RW/RWTPtrOrderedVector.h>
#include <RW/RWTValOrderedVector.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

class CFG_SubTree {
public:
    CFG_SubTree(const CFG_SubTree&) = delete;
    CFG_SubTree& operator=(const CFG_SubTree&) = delete;
    ~CFG_SubTree();

    // The member name under its parent ("tag_parsing"); "" for the root.
    const RWCString& GetName() const { return name_; }
    // The path from the root, names joined by '\\' ("lumivest\\system\\applications"); "" for
    // the root.
    const RWCString& GetPath() const { return path_; }

    // The children whose names match `filter`, in document order. The filter is a pattern in
    // which '*' stands for any run of characters and '?' for any one character; other characters
    // match themselves (case-sensitive). An empty filter lists every child. The vector holds
    // pointers into the repository: count with entries(), index with at() or [] (checked).
    RWTPtrOrderedVector<CFG_SubTree> GetChildren(const RWCString& filter = RWCString()) const;
    // The subtree at `path` below this one (names separated by '\\' or '/'; "" is this one),
    // or null.
    CFG_SubTree* GetSubTree(const RWCString& path) const;

    // The value under `key`: true with `value` set, or false (and `value` untouched) when the
    // subtree has no such value.
    bool GetValue(const RWCString& key, RWCString& value) const;
    bool HasValue(const RWCString& key) const;
    // The keys of the values, in document order.
    RWTValOrderedVector<RWCString> GetValueNames() const;

    // A number that no other subtree of this process has or will have, even after this one is
    // destroyed: a key for caches of things derived from a subtree.
    uint64_t GetSerial() const { return serial_; }

private:
    friend class CFG_RepositoryServices;
    friend class CFG_TreeBuilder;
    CFG_SubTree(RWCString name, RWCString path);

    RWCString name_;
    RWCString path_;
    uint64_t serial_;
    std::vector<std::unique_ptr<CFG_SubTree>> children_;
    std::vector<std::pair<RWCString, RWCString>> values_;
};
