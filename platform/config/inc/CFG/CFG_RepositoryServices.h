// CFG/CFG_RepositoryServices.h: a loaded configuration repository.
//
// The repository is a JSON document whose top level is an object (see CFG_SubTree.h for what a
// subtree holds). A path names nested objects by their member names, separated by '\\' or '/':
//   "lumivest\\system\\applications\\carbonell\\tag_parsing"
//   "lumivest/system/applications/carbonell/tag_parsing"     (the same)
// Empty names (a leading, trailing or doubled separator) are skipped; "" is the root.
//
// The process-wide repository comes from CFG_Factory::GetRepositoryServices(); Load and Parse
// make independent ones (tools, tests). Once loaded a repository never changes: every member
// may be called from any thread without a lock.
#pragma once

#include <CFG/CFG_SubTree.h>
#include <RW/RWCString.h>

#include <cstddef>
#include <memory>
#include <string_view>

class CFG_RepositoryServices {
public:
    // Files larger than this are refused.
    static constexpr size_t kMaxFileSize = 64u * 1024u * 1024u;
    // Documents whose objects and arrays nest deeper than this are refused.
    static constexpr int kMaxDepth = 64;

    // Reads and parses `file`. Null when it cannot be read, is larger than kMaxFileSize, is not
    // well-formed JSON, its top level is not an object, it nests deeper than kMaxDepth or
    // an object names a member twice; then `*error` (if given) says why, with the line and
    // column of a parse error ("parse error at line 3, column 7: ...").
    static std::unique_ptr<CFG_RepositoryServices> Load(const RWCString& file, RWCString* error = nullptr);
    // The same for a document in memory.
    static std::unique_ptr<CFG_RepositoryServices> Parse(std::string_view document,
                                                         RWCString* error = nullptr);

    ~CFG_RepositoryServices();
    CFG_RepositoryServices(const CFG_RepositoryServices&) = delete;
    CFG_RepositoryServices& operator=(const CFG_RepositoryServices&) = delete;

    // The subtree at `path`, or null when a name on the way is not an object member.
    CFG_SubTree* GetSubTree(const RWCString& path) const;
    // The top-level object.
    CFG_SubTree* GetRoot() const { return root_.get(); }
    // The file it was loaded from ("" for Parse).
    const RWCString& GetSource() const { return source_; }

private:
    CFG_RepositoryServices(std::unique_ptr<CFG_SubTree> root, RWCString source);

    std::unique_ptr<CFG_SubTree> root_;
    RWCString source_;
};
