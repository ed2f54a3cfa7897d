// Dicom_Codec: the byte-level reader and writer of data sets (internal).
//
// Reading is one pass over the input: elements and values are placed in the message's arena and
// appended to its element store; values point into the input (or into the message's copy of it).
// Sequence items are messages of their own that share the arena.
//
// Writing is two-phase: the exact length of everything is computed first (without allocating),
// then the bytes are written into a buffer of that size. Group length elements (gggg,0000) are
// recomputed for the target syntax; the meta information group (0002) is written only as the
// file meta header of a file image. Sequences and items keep the length form they were read
// with (defined or undefined); new ones are written with undefined length.
#pragma once

#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_VR.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Dicom_Arena;
class Dicom_Msg;
class Dicom_ME;
class Dicom_SortedVector;
class Dicom_Type;
class Dicom_SQ;

// Deepest nesting of sequences that the reader accepts.
inline constexpr int DICOM_MAX_SEQUENCE_DEPTH = 64;

class Dicom_Codec {
public:
    struct ParseResult {
        int status = 0;                   // 0 or -1
        unsigned long long consumed = 0;  // bytes of the input parsed
        std::string error;                // first fault, for diagnostics
    };

    // Parses a file image or a bare data set into `msg` (which must be empty). `syntax`
    // unspecified: from the meta group, else detected.
    static ParseResult Parse(Dicom_Msg& msg, const unsigned char* data, unsigned long long length, int copy,
                             const Dicom_TransferSyntax& syntax, bool stopBeforePixelData, bool strict);

    // The syntax a write in `requested` uses for `msg` (unspecified: as read, else explicit LE).
    static Dicom_TransferSyntax Resolve(const Dicom_Msg& msg, const Dicom_TransferSyntax& requested);

    // Exact encoded length of the data set (group 0002 left out at the top level). False when the
    // data set cannot be written in `syntax`. Allocates nothing (except for deflated syntaxes,
    // whose length is that of the compressed stream).
    static bool DataSetLength(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax, uint64_t* length,
                              std::string* error = nullptr);
    // Exact encoded length of one element (tag, VR and length fields, padded value).
    static bool ElementLength(const Dicom_ME& element, const Dicom_TransferSyntax& syntax, uint64_t* length);
    // Encoded length of a sequence value's content (items and delimiters), as written.
    static bool SequenceValueLength(const Dicom_SQ& sequence, const Dicom_TransferSyntax& syntax,
                                    uint64_t* length);

    // Writes the data set into `out` (at least DataSetLength bytes). Returns the bytes written, or
    // -1 with `*error`.
    static long long WriteDataSet(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax,
                                  unsigned char* out, size_t capacity, std::string* error);
    // The head of a file image: preamble, "DICM" and the meta information group for a data set
    // written in `syntax`. Returns 0 or -1.
    static int FileMetaHeader(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax,
                              std::vector<unsigned char>& out, std::string* error = nullptr);

    // zlib raw deflate/inflate. Inflate stops with false beyond `maxOutput` bytes.
    static bool Deflate(const unsigned char* data, size_t length, std::vector<unsigned char>& out);
    static bool Inflate(const unsigned char* data, size_t length, size_t maxOutput, unsigned char** out,
                        size_t* outLength);

    // Access to the message's state for the reader, the writer and the trusted buffers.
    static Dicom_SortedVector& Elements(Dicom_Msg& msg);
    static const Dicom_SortedVector& Elements(const Dicom_Msg& msg);
    static uint32_t& MsgFlags(Dicom_Msg& msg);
    static uint32_t MsgFlags(const Dicom_Msg& msg);
    static Dicom_TransferSyntax& NamedSyntaxOf(Dicom_Msg& msg);
    static Dicom_TransferSyntax& SyntaxOf(Dicom_Msg& msg);
    // The message's arena, created on first use.
    static Dicom_Arena* EnsureArena(Dicom_Msg& msg);
    // Makes an (empty) item share `arena` and read in `syntax`.
    static void AdoptArena(Dicom_Msg& item, Dicom_Arena* arena, const Dicom_TransferSyntax& syntax);

    // Implementation class UID and version name written into the meta group of our files.
    static constexpr const char* IMPLEMENTATION_CLASS_UID = "2.25.90174523884652031675193826450129437";
    static constexpr const char* IMPLEMENTATION_VERSION_NAME = "IOD_0.1";
};
