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
// header (which must then be present); always our other elements against its data set. With
// `groupLengthValues` false the values of group lengths (gggg,0000) are not compared (the
// oracle reads a file that we wrote, and the writer recomputes them).
void CompareWithOracle(const Dicom_Msg& ours, const OracleFile& oracle, bool meta, VRRule rule,
                       bool groupLengthValues, Differences& out);

// Checks every group length (gggg,0000) of the oracle's meta header and top-level data set against the
// encoded lengths of the group's elements as the oracle reports them, in `syntaxUid` (explicit or implicit
// VR; the meta group is explicit). Groups holding an element whose encoded length the oracle does not report
// (undefined-length sequences, encapsulated pixel data) are not checked; returns the number
// of groups checked.
int CheckGroupLengths(const OracleFile& oracle, const std::string& syntaxUid, Differences& out);

// Two of our messages: the same elements, VRs (per `rule`) and values, recursively. Group 0002
// at the top level is left out, and so are the values of group lengths (gggg,0000), which a
// writer recomputes for its syntax.
void CompareMessages(const Dicom_Msg& expected, const Dicom_Msg& actual, VRRule rule, Differences& out);
