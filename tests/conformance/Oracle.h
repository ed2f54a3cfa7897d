// Oracle: the data set of a file as an independent DICOM toolkit reads it. The toolkit's
// XML converter (dcm2xml) is run on the file and its output parsed into a tree of elements.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct OracleItem;

struct OracleElement {
    uint32_t tag = 0;        // group << 16 | element
    std::string vr;          // as the toolkit reports it ("US", "SQ", ...)
    bool hasLength = false;  // the toolkit printed a value length
    uint32_t length = 0;
    bool binary = false;          // value printed as hexadecimal units
    std::string text;             // the value as printed, character references decoded to bytes
    bool isSequence = false;      // SQ (or UN read as a sequence): `items`
    bool isEncapsulated = false;  // encapsulated pixel data: `fragments` (the offset table first)
    std::vector<OracleItem> items;
    std::vector<std::string> fragments;  // hexadecimal text of each item, as printed
};

struct OracleItem {
    std::vector<OracleElement> elements;
};

struct OracleFile {
    int exitCode = -1;          // of the converter; 0: it read the file cleanly
    std::string diagnostics;    // its standard error
    std::string metaSyntax;     // the meta header's transfer syntax attribute
    std::string dataSetSyntax;  // the transfer syntax the data set was read in
    std::vector<OracleElement> meta;
    std::vector<OracleElement> dataSet;
    std::string parseError;  // non-empty when the XML could not be parsed
};

// Path of the converter (dcm2xml); empty when it is not installed.
std::string OracleConverterPath();

// Runs the converter on `path` (with `extraArgs`, each a separate argument) and parses its output.
OracleFile RunOracle(const std::string& path, const std::vector<std::string>& extraArgs = {});

// Parses converter output (exposed for the parser's own tests).
bool ParseOracleXml(const std::string& xml, OracleFile& out);

// Bytes of a hexadecimal value as the converter prints it: units of 2, 4, 8 or 16 digits
// separated by '\\', each unit a little-endian number of that many bytes (OB: bytes, OW: words).
// False on a malformed unit.
bool DecodeOracleHex(const std::string& text, std::string& bytes);
