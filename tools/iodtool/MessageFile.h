// MessageFile: reading a DICOM file into an IOD_Msg and writing it back, for the iodtool
// commands that change a file (overlays, scale).
#pragma once

#include <IOD/IOD_Msg.h>

#include <memory>
#include <vector>

// A file read into a message. The message's values may point into `bytes`: keep them together.
struct IodMessageFile {
    std::vector<unsigned char> bytes;
    std::unique_ptr<IOD_Msg> msg;
    bool fileImage = false;  // a DICOM file image (preamble, "DICM", meta group), not a bare data set
};

// Reads and parses `path`. False, after a message on standard error that starts with
// "iodtool <command>: ", when the file cannot be read, is too large, or cannot be parsed in full
// (nothing of a partly read file is ever written back; `forWriting` adds "nothing written").
bool IodReadMessageFile(const char* command, const char* path, bool forWriting, IodMessageFile& file);

// Writes `file.msg` to `path` atomically, in the transfer syntax it was read in and as a file
// image when it was read as one. False after a message on standard error; `path` is then left
// as it was.
bool IodWriteMessageFile(const char* command, const char* path, const IodMessageFile& file);
