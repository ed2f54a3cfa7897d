// MsgFileIO: reading, writing and argument parsing shared by the iodtool commands that read or
// change a message (strip, length, deidentify, frame, overlays, scale). Every function that fails
// prints one line "iodtool <command>: <reason>" on standard error.
#pragma once

#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <IOD/IOD_Msg.h>

#include <memory>
#include <string>
#include <vector>

// Reads `path` into `bytes` and parses all of it. The message's values point into `bytes`, which
// must outlive it. Null (and the reason printed, with "; nothing written" for a command that
// would write a result) when the file cannot be read or parsed in full: nothing of a partly read
// file is ever written back.
std::unique_ptr<IOD_Msg> IodLoadMessage(const char* command, const char* path,
                                        std::vector<unsigned char>& bytes, bool forWriting = true);

// True for a DICOM file image (preamble and "DICM"), false for a bare data set.
bool IodIsFileImage(const std::vector<unsigned char>& bytes);

// Encodes `msg` in `syntax` (a file image with a fresh meta header when `fileImage`) and
// replaces `path` atomically. False (reason printed, `path` untouched) on failure.
bool IodSaveMessage(const char* command, const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax,
                    bool fileImage, const char* path);

// "implicit", "explicit", "big", "deflated" or a transfer syntax UID; unknown ones are !IsKnown().
Dicom_TransferSyntax IodParseSyntax(const std::string& text);
// "Explicit VR Little Endian (1.2.840.10008.1.2.1)"
std::string IodDescribeSyntax(const Dicom_TransferSyntax& syntax);
// Why `msg` cannot be written in `target` without decompressing or compressing its pixel data
// (as iodtool convert refuses it); empty when it can.
std::string IodPixelDataConflict(const Dicom_Msg& msg, const Dicom_TransferSyntax& target);

// An attribute named on the command line: an accessor name as iodtool get and set take it
// ("PatientsName", "Rows_i:2", "MsgLength"), a DICOM keyword ("PatientName") or "gggg,eeee" in
// hexadecimal. False with *error set when it names nothing.
bool IodParseTag(const std::string& text, Dicom_Tag* tag, std::string* error);
