// CFG/CFG.h: the configuration repository library (CFG), all of it.
//
//   CFG_RepositoryServices* services = CFG_Factory::GetRepositoryServices();   // null: none
//   CFG_SubTree* rules = services ? services->GetSubTree("lumivest\\system\\...\\tag_parsing") : nullptr;
//   RWTPtrOrderedVector<CFG_SubTree> children = rules->GetChildren("");        // document order
//   RWCString tag;
//   if (children[0]->GetValue("tag", tag)) ...;
//
// See CFG_Factory.h for where the repository comes from, CFG_RepositoryServices.h for paths and
// CFG_SubTree.h for what a subtree holds.
#pragma once

#include <CFG/CFG_Factory.h>
#include <CFG/CFG_RepositoryServices.h>
#include <CFG/CFG_SubTree.h>
