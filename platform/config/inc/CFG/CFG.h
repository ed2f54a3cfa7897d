// CFG/CFG.h: the configuration repository library (CFG), placeholder.
//
// The IOD library reads one subtree of the configuration repository, the
// parsing rules of the mammography tag update, through
// CFG_Factory::GetRepositoryServices() and CFG_SubTree. Those classes are
// not written yet: a later issue adds their headers to this directory
// (include them as <CFG/...>) and sources to the iod_config target
// (IOD::config), which is an interface library until then.
#pragma once
