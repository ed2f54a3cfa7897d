// Dicom_Charset: character sets of text values (internal to the DICOM layer).
//
// A message's Specific Character Set (0008,0005) value is registered once per process and
// known afterwards by a small index (Dicom_Type::GetCharset()); index 0 is the default
// repertoire (no (0008,0005), or an empty one). Text values keep their bytes; this module
// turns them into Unicode (UTF-8 or wchar_t) and back:
//  - single-byte sets without code extensions (ISO_IR 100 ... ISO_IR 203, ISO_IR 13, ISO_IR 166),
//    UTF-8 (ISO_IR 192), GB18030 and GBK cover the whole value;
//  - code-extension sets ("ISO 2022 IR nn", or several values) are read as ISO 2022: escape
//    sequences designate G0 (ASCII, JIS X 0201 romaji, JIS X 0208, JIS X 0212) and G1 (the
//    upper halves of the ISO 8859 sets, JIS X 0201 katakana, KS X 1001, GB 2312); G0 returns to
//    the first value's set at every delimiter ('\\', CR, LF, TAB, FF, and in person names '^'
//    and '=') met while a single-byte G0 set is in force.
// Bytes the set cannot decode become U+FFFD; the default repertoire decodes bytes above 0x7F as
// ISO 8859-1, so that no byte vanishes from a display. Multi-byte conversions use iconv from the
// C library (one converter per thread and set); single-byte sets use tables built once.
#pragma once

#include <cstddef>
#include <string>

class Dicom_Type;

namespace Dicom_Charset {

// Index of a (0008,0005) value as stored ("ISO_IR 100", "\\ISO 2022 IR 87",
// "ISO 2022 IR 6\\ISO 2022 IR 149"): values are trimmed of spaces and NULs. 0 for an empty value. The
// registry holds at most 1024 distinct values; past that a new value maps to an entry with the same sets if
// there is one, else to 0.
unsigned short IndexOf(const char* specificCharacterSet, size_t length);
inline unsigned short IndexOf(const std::string& s) { return IndexOf(s.data(), s.size()); }
// The (0008,0005) value of an index, as registered ("" for 0 and unknown indexes).
std::string Name(unsigned short index);
// Index of "ISO_IR 192" (UTF-8).
unsigned short UTF8Index();
// True when every term of the index is known to this module.
bool IsSupported(unsigned short index);

// Decodes `length` bytes in charset `index`. `personName`: '^' and '=' are delimiters too.
// Returns false when a byte could not be decoded (it became U+FFFD).
bool ToUTF8(unsigned short index, const char* data, size_t length, std::string& out, bool personName = false);
bool ToWide(unsigned short index, const char* data, size_t length, std::wstring& out,
            bool personName = false);

// Encodes UTF-8 text in charset `index` (ISO 2022 sets: with escape sequences, returning to the
// first value's set before each delimiter and at the end). Returns false (and leaves `out`
// unspecified) when a character has no code in the set or the UTF-8 is malformed.
bool FromUTF8(unsigned short index, const char* utf8, size_t length, std::string& out,
              bool personName = false);

// True when the text of `value` can be written in charset `index` (always for values that are
// plain ASCII; otherwise when its decoded text encodes in `index`).
bool CanEncode(unsigned short index, const Dicom_Type& value);

// The charset a message declaring `messageCharset` needs for UTF-8 text: the message's own when
// the text is ASCII or encodes in it, else ISO_IR 192.
unsigned short Decide(unsigned short messageCharset, const char* utf8, size_t length);

// Re-encodes the text of `value` in charset `index` and sets its charset. 0, or -1 when the
// value is not text or cannot be encoded (the value is then unchanged).
int Transcode(Dicom_Type& value, unsigned short index);

// Position of the first of `delimiters` in data[from, length) that is not part of a multi-byte
// character (ISO 2022 multi-byte G0 runs, GB18030/GBK trail bytes); `length` when there is none.
size_t FindDelimiter(unsigned short index, const char* data, size_t length, size_t from,
                     const char* delimiters = "\\");
inline size_t FindDelimiter(unsigned short index, const char* data, size_t length, size_t from,
                            bool personName) {
    return FindDelimiter(index, data, length, from, personName ? "\\^=" : "\\");
}

// Appends the UTF-8 form of one code point (at most 0x10FFFF) to `out`.
void AppendUTF8(char32_t c, std::string& out);

// True when the bytes hold nothing above 0x7F and no ESC.
bool IsPlainASCII(const char* data, size_t length);

}  // namespace Dicom_Charset
