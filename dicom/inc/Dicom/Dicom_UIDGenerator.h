// Dicom_UIDGenerator: new, globally unique UIDs ("2.25." and a random 128-bit number in
// decimal), at most 64 characters. Thread-safe.
#pragma once

#include <string>

class Dicom_UI;

class Dicom_UIDGenerator {
public:
    Dicom_UIDGenerator();
    Dicom_UI Generate();
    std::string GenerateString();
};
