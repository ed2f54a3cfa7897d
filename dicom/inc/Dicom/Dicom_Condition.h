// Dicom_Condition: rules that derive an attribute value from a message, kept in the
// configuration repository (one CFG_SubTree per rule).
//
// A rule is an object of string members:
//   "tag"      required: the name of what the rule produces ("KOVEL_IS_MG").
//   "source"   the attribute read from the message: a keyword ("Modality"), an upper-case
//              dictionary name ("VIEW_POSITION", "KOVEL_IS_MG") or a tag ("(0018,5101)",
//              "0018,5101"); "A/B/C" reads C in the first item of B in the first item of the
//              sequence A ("ViewCodeSequence/CodeMeaning"). Several sources joined by '+'
//              ("ImageLaterality+ViewPosition") read as their texts joined by one blank
//              ("R MLO"; an absent one leaves its place empty: " MLO"). Without "source" the
//              source is absent.
//   "pattern"  an ECMAScript regular expression searched in the source's text (the values
//              without padding, joined by '\\'); without it any non-empty value matches.
//   "value"    the text produced on a match: "$1".."$9" stand for capture groups (empty when
//              a group did not take part), "$&" for the whole match, "$$" for '$'. Default "$&"
//              (without a pattern the whole text is the match).
//   "default"  the text produced when the source is absent or empty (all of them, for several)
//              or does not match; without it such a rule produces nothing.
//   "comment"  ignored.
// A rule is malformed when it has no "tag", its pattern does not compile, its source names no
// attribute (or a path leads through an attribute that is not a sequence), or it has a member
// not listed above. A malformed rule produces nothing; it is reported once per process at
// level 3 (category 20), with its name.
//
// Source texts longer than kMaxSourceLength are not searched (the rule goes on as without a
// match; level 6): the regular expression engine recurses per character.
//
// Rules are compiled on first use and kept for the life of the process (keyed by the subtree's
// serial number); evaluation may run in many threads at once.
#pragma once

#include <RW/RWCString.h>

#include <cstddef>

class CFG_SubTree;
class Dicom_Msg;
class IOD_Msg;

class Dicom_Condition {
public:
    static constexpr size_t kMaxSourceLength = 1024;

    // Evaluates `rule` against `msg` (an IOD_Msg or any other Dicom_Msg). `tagName` receives the
    // rule's "tag" whenever the rule has one; true when the rule produced a value, which is then
    // in `value` (untouched otherwise). False for a null message or rule and a malformed rule.
    static bool GetParsingsTagValue(const Dicom_Msg* msg, CFG_SubTree* rule, RWCString& tagName,
                                    RWCString& value);
    // The same for a message of the IOD library, the form its mammography update calls. Defined
    // by the IOD library (which knows IOD_Msg); it evaluates the rule on the message's data set.
    static bool GetParsingsTagValue(const IOD_Msg* msg, CFG_SubTree* rule, RWCString& tagName,
                                    RWCString& value);
};
