// CFG/CFG_Factory.h: the process-wide configuration repository.
//
// The repository is the JSON document in the file named by the environment variable IOD_CONFIG,
// read once, on the first call of GetRepositoryServices (later changes of the variable or the
// file are not seen). Without the variable (or with an empty one) there is no repository; when
// the file cannot be read or is not a valid repository there is none either, and a level-3
// record (category 21) names the file and the reason, with the line and column of a parse error.
//
// Threads: the first call loads, concurrent first calls wait for it; later calls only read.
#pragma once

#include <CFG/CFG_RepositoryServices.h>

class CFG_Factory {
public:
    // The repository, or null when there is none. It lives until the process ends.
    static CFG_RepositoryServices* GetRepositoryServices();
};
