// DumpFormat: the text form of a data set that `iodtool dump` prints, one element a line:
//
//   (0010,0010) PN [DOE^JOHN]                              #   8, 1 PatientName
//   (0008,1111) SQ (Sequence, undefined length, 1 item)    # u/l, 1 ReferencedPerformedProcedureStepSequence
//     (fffe,e000) na (Item 1, explicit length, 1 element)  #  24, 1 Item
//       (0008,1150) UI [1.2.840.10008.3.1.2.3.3]           #  24, 1 ReferencedSOPClassUID
//     (fffe,e00d) na (ItemDelimitationItem)                #   0, 0 ItemDelimitationItem
//   (fffe,e0dd) na (SequenceDelimitationItem)              #   0, 0 SequenceDelimitationItem
//
// Text values stand in brackets without their trailing padding; binary numbers are printed as
// numbers ('\\' between values), attribute tags as (gggg,eeee), byte strings (OB, UN, OW, OL,
// OV) as hexadecimal units; encapsulated pixel data as its offset table and fragments, each a
// line of its own. The comment gives the value length as stored (odd lengths included; "u/l"
// for undefined-length sequences), the value multiplicity and the keyword ("PrivateTag" with
// the creator for private data that the dictionary does not know), and for a standard UID its
// name ("# 20, 1 TransferSyntaxUID: Explicit VR Little Endian").
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

class Dicom_Msg;
class Dicom_Type;

struct IodDumpOptions {
    bool meta = true;       // print the file meta group (0002,xxxx) first
    size_t maxLength = 64;  // longest printed value in characters ("..." after); 0: no limit
};

// Appends the dump of `msg` to `out`: with options.meta the meta group under a
// "# File meta information" heading, then the data set under "# Data set (<syntax>)". With a
// `stream`, the text is written to it in pieces as it is produced, so that a large data set
// never sits whole in memory; `out` then holds the rest that is not written yet.
void IodDumpMessage(const Dicom_Msg& msg, const IodDumpOptions& options, std::string& out,
                    std::FILE* stream = nullptr);

// The printed form of one value (without brackets, not truncated).
std::string IodFormatValue(const Dicom_Type& value);
