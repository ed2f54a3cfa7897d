// ValidateFile: validation of one DICOM file against the IOD its SOP Class UID names, for
// iodtool validate. The validators report their defects as level-4 log records; a sink installed by
// IodDefectCapture collects them into the result of the file that the calling thread is validating.
#pragma once

#include <string>
#include <vector>

// One defect: a level-4 record of a validator.
struct IodValidationDefect {
    std::string module;     // the function that logged it, e.g. "IOD_Image::IsPatientModuleValid"
    std::string attribute;  // "NUMBER_OF_FRAMES" from "... Attribute:NUMBER_OF_FRAMES not valid"; else ""
    std::string text;       // the record's text
    std::string where;      // a position inside the object (an SR content item path); else ""
};

enum class IodVerdict { Valid, Invalid, UnknownClass, Unreadable };

struct IodValidationResult {
    std::string path;
    std::string className;  // "CT", "MR", ...; empty when no class was applied
    IodVerdict verdict = IodVerdict::Unreadable;
    std::string error;  // why the file is unreadable, of an unknown class, or could not be checked
    std::vector<IodValidationDefect> defects;
};

// An IOD class that iodtool validate applies.
struct IodValidationClass {
    const char* name;         // "CT"
    const char* className;    // "IOD_CTImage"
    const char* description;  // "CT image"
    // Parses `length` bytes at `buffer` with copy 0 into the class and returns its verdict:
    // 1 valid, 0 invalid, -1 the bytes do not parse. `sopClassUid` is the file's SOP Class UID.
    int (*validate)(void* buffer, unsigned int length, const std::string& sopClassUid);
};

// Every class, in the order the documentation lists them.
const std::vector<IodValidationClass>& IodValidationClasses();
// The class named `name` ("CT", case-insensitive), or null.
const IodValidationClass* IodFindValidationClass(const std::string& name);
// The class that validates objects of the SOP class `uid`, or null when none does.
const IodValidationClass* IodValidationClassOf(const std::string& uid);

// Captures the level-4 records of the validators while it lives: adds a sink, turns the default
// (standard error) sink off and sets the log level to 4; restores all of it when destroyed.
class IodDefectCapture {
public:
    IodDefectCapture();
    ~IodDefectCapture();
    IodDefectCapture(const IodDefectCapture&) = delete;
    IodDefectCapture& operator=(const IodDefectCapture&) = delete;

private:
    int sink_;
    int level_;
};

// Validates the file at `path` (mapped read-only, parsed with copy 0). `forced` applies that class
// whatever the SOP Class UID says. Defects reach the result only while an IodDefectCapture lives.
IodValidationResult IodValidateFile(const std::string& path, const IodValidationClass* forced);

// "valid", "invalid", "unknown class" or "unreadable".
const char* IodVerdictText(IodVerdict verdict);
// The result as one line of JSON (no newline).
std::string IodValidationJson(const IodValidationResult& result);
// `text` as a JSON string literal, quotes included.
std::string IodJsonString(const std::string& text);
