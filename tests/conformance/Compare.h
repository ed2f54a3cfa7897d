// Compare: element-by-element comparison of our parse of a file with the oracle's reading of
// it, and of two of our own messages (a file and its re-encoding).
#pragma once

#include <string>
#include <vector>

#include "Oracle.h"

class Dicom_Msg;

// The differences found, each "path: what" with a path like (0008,1111)[0](0008,1150).
struct Differences {
    std::vector<std::string> list;
    // VR differences accepted as dictionary disagreements in implicit-VR data, for the log.
    std::vector<std::string> tolerated;

    void Add(const std::string& path, const std::string& what) { list.push_back(path + ": " + what); }
    bool Empty() const { return list.empty(); }
    // The first `max` differences, one a line.
    std::string Describe(size_t max = 25) const;
};

// How VRs may differ between two readings of one data set.
enum class VRRule {
    kExact,     // explicit VR: the VR is in the data, both readings must agree
    kImplicit,  // implicit VR: each reader takes the VR from its own dictionary (see Compare.cpp)
};

// Our message against the oracle: with `meta`, our group 0002 against the oracle's meta
// header (which must then be present); always our other elements against its data set.
void CompareWithOracle(const Dicom_Msg& ours, const OracleFile& oracle, bool meta, VRRule rule,
                       Differences& out);

// Two of our messages: the same elements, VRs (per `rule`) and values, recursively. Group 0002
// at the top level is left out, and so are the values of group lengths (gggg,0000), which a
// writer recomputes for its syntax.
void CompareMessages(const Dicom_Msg& expected, const Dicom_Msg& actual, VRRule rule, Differences& out);
