#pragma once

// Where a buffer handed to a message constructor comes from. The layer treats both the same
// way; the value is kept with the message for callers that want to know.
struct Dicom_SwapInfo {
    enum msg_source {
        FROM_MEMORY = 0,  // a buffer in memory (network PDVs, a file read by the caller)
        FROM_HANDLE = 1,  // read by the message itself from a file descriptor
        FROM_FILE = 2,
    };
};
