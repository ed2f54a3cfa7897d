// Character sets: the (0008,0005) registry, decoding and encoding of single-byte, ISO 2022,
// GB18030 and UTF-8 text, and the rules that keep a message's character set right. The bytes
// are the Patient's Name values of pydicom's charset files with the text pydicom decodes them
// to, and samples whose text comes from Python's codecs.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Dicom_Charset.h"

namespace {

struct Sample {
    const char* file;
    const char* charset;  // (0008,0005) as stored
    std::string bytes;
    const char* text;  // UTF-8
};

const std::vector<Sample>& Samples() {
    static const std::vector<Sample> samples = {
        {"chrArab", "ISO_IR 127", "\xe2\xc8\xc7\xe6\xea^\xe4\xe6\xd2\xc7\xd1", "قباني^لنزار"},
        {"chrFren", "ISO_IR 100", "Buc^J\xe9r\xf4me", "Buc^Jérôme"},
        {"chrGerm", "ISO_IR 100", "\xc4neas^R\xfc\x64iger", "Äneas^Rüdiger"},
        {"chrGreek", "ISO_IR 126", "\xc4\xe9\xef\xed\xf5\xf3\xe9\xef\xf2", "Διονυσιος"},
        {"chrHbrw", "ISO_IR 138", "\xf9\xf8\xe5\xef^\xe3\xe1\xe5\xf8\xe4", "שרון^דבורה"},
        {"chrRuss", "ISO_IR 144", "\xbb\xee\xda\x63\x65\xdc\xd1yp\xd3", "Люкceмбypг"},
        {"chrH31", "\\ISO 2022 IR 87",
         "Yamada^Tarou=\x1b$B;3ED\x1b(B^\x1b$BB@O:\x1b(B=\x1b$B$d$^$@\x1b(B^\x1b$B$?$m$&\x1b(B",
         "Yamada^Tarou=山田^太郎=やまだ^たろう"},
        {"chrH32", "ISO 2022 IR 13\\ISO 2022 IR 87",
         "\xd4\xcf\xc0\xde^\xc0\xdb\xb3=\x1b$B;3ED\x1b(J^\x1b$BB@O:\x1b(J=\x1b$B$d$^$@\x1b(J^\x1b$B$?$m$&"
         "\x1b(J",
         "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎=やまだ^たろう"},
        {"chrI2", "\\ISO 2022 IR 149",
         "Hong^Gildong=\x1b$)C\xfb\xf3^\x1b$)C\xd1\xce\xd4\xd7=\x1b$)C\xc8\xab^\x1b$)C\xb1\xe6\xb5\xbf",
         "Hong^Gildong=洪^吉洞=홍^길동"},
        {"chrX1", "ISO_IR 192",
         "Wang^XiaoDong=\xe7\x8e\x8b^\xe5\xb0\x8f\xe6\x9d\xb1=", "Wang^XiaoDong=王^小東="},
        {"chrX2", "GB18030", "Wang^XiaoDong=\xcd\xf5^\xd0\xa1\xb6\xab=", "Wang^XiaoDong=王^小东="},
        {"codecs", "ISO_IR 13", "\xb1\xb2\xb3", "ｱｲｳ"},
        {"codecs", "ISO_IR 166", "\xca\xc7\xd1\xca\xb4\xd5", "สวัสดี"},
        {"codecs", "ISO_IR 203", "\xa4", "€"},
        {"codecs", "ISO 2022 IR 6\\ISO 2022 IR 100", "Ren\x1b-A\xe9", "René"},
        {"codecs", "ISO 2022 IR 6\\ISO 2022 IR 58", "\x1b$)A\xd6\xd0\xce\xc4", "中文"},
        {"codecs", "\\ISO 2022 IR 159", "\x1b$(D0!\x1b(B", "丂"},
        {"codecs", "\\ISO 2022 IR 87\\ISO 2022 IR 159", "\x1b$B;3\x1b$(D0!\x1b(B", "山丂"},
    };
    return samples;
}

unsigned short Index(const char* charset) { return Dicom_Charset::IndexOf(charset, std::strlen(charset)); }

}  // namespace

TEST(CharsetRegistry, SameValueSameIndexFromAnyThread) {
    EXPECT_EQ(Index("  "), 0);
    const unsigned short latin1 = Index("ISO_IR 100"), jp = Index("\\ISO 2022 IR 87");
    EXPECT_TRUE(latin1 != 0 && jp != latin1 && Index("ISO_IR 100 ") == latin1);  // padding: the same set
    EXPECT_EQ(Index(" \\ISO 2022 IR 87 "), jp);
    EXPECT_EQ(Dicom_Charset::Name(jp), "\\ISO 2022 IR 87");
    EXPECT_EQ(Dicom_Charset::Name(60000), "");  // unknown index: the default repertoire
    EXPECT_FALSE(Dicom_Charset::IsSupported(Index("ISO_IR 999")));
    // Registering and converting from several threads at once: one index per value, same text.
    std::vector<std::string> results(8);
    std::vector<unsigned short> got(results.size());
    std::vector<std::thread> threads;
    for (size_t t = 0; t < results.size(); ++t)
        threads.emplace_back([&, t] {
            got[t] = Index("ISO 2022 IR 6\\ISO 2022 IR 58");
            const Sample& s = Samples()[6 + t % 4];
            for (int i = 0; i < 100; ++i) {
                results[t].clear();
                Dicom_Charset::ToUTF8(Index(s.charset), s.bytes.data(), s.bytes.size(), results[t], true);
            }
            if (results[t] == s.text) results[t] = "ok";
        });
    for (auto& t : threads) t.join();
    for (size_t t = 0; t < results.size(); ++t)
        EXPECT_TRUE(got[t] == got[0] && results[t] == "ok") << results[t];
}

TEST(CharsetDecoding, EveryRepertoireDecodesAndEncodesBack) {
    // ISO 2022 text returns to the first value's set before each delimiter and repeats the G1
    // designation after it, as the files do.
    for (const Sample& s : Samples()) {
        SCOPED_TRACE(std::string(s.file) + " " + s.charset);
        const unsigned short cs = Index(s.charset);
        std::string utf8, bytes;
        EXPECT_TRUE(Dicom_Charset::ToUTF8(cs, s.bytes.data(), s.bytes.size(), utf8, true));
        EXPECT_EQ(utf8, s.text);
        EXPECT_TRUE(Dicom_Charset::FromUTF8(cs, s.text, std::strlen(s.text), bytes, true));
        EXPECT_EQ(bytes, s.bytes);
        Dicom_PN pn(s.bytes, nullptr);  // the same through a value and its wide-character form
        pn.SetCharset(cs);
        std::wstring wide;
        Dicom_Charset::ToWide(Dicom_Charset::UTF8Index(), s.text, std::strlen(s.text), wide);
        EXPECT_EQ(std::wstring(static_cast<wchar_t*>(pn)), wide);
    }
    std::string out;
    EXPECT_FALSE(Dicom_Charset::FromUTF8(Index("ISO_IR 100"), "山", std::strlen("山"), out));
    EXPECT_FALSE(Dicom_Charset::FromUTF8(0, "é", std::strlen("é"), out));  // default repertoire: ASCII only
    EXPECT_FALSE(Dicom_Charset::FromUTF8(Index("ISO_IR 192"), "\xff", 1, out));
}

TEST(CharsetDecoding, DelimitersInsideMultiByteCharactersAreData) {
    // 俑 is ESC $ B 0x50 0x5C in JIS X 0208, 乗 is 0x81 0x5C in GB18030: the 0x5C is no '\'
    Dicom_LO lo("\x1b$BP\\\x1b(B\\ABC", nullptr);
    lo.SetCharset(Index("\\ISO 2022 IR 87"));
    EXPECT_EQ(lo.GetVM(), 2);
    EXPECT_STREQ(static_cast<wchar_t*>(lo), L"俑\\ABC");
    Dicom_SH sh("A\x81\\B\\C", nullptr);
    EXPECT_EQ(sh.GetVM(), 3);  // without the character set: three values
    sh.SetCharset(Index("GB18030"));
    EXPECT_EQ(sh.GetVM(), 2);
    EXPECT_STREQ(static_cast<wchar_t*>(sh[0]), L"A乗B");
    const Sample& h31 = Samples()[6];  // '^' inside a JIS run (やまだ holds "$^") splits nothing
    Dicom_PN pn(h31.bytes, nullptr);
    pn.SetCharset(Index(h31.charset));
    EXPECT_EQ(pn.GetInitials().ToString(), "Y^T");
}

TEST(CharsetDecoding, BadBytesBecomeReplacementCharacters) {
    const std::tuple<const char*, std::string, const char*, bool> cases[] = {
        // set, bytes, text, clean
        {"ISO_IR 192", "a\xff\x62", "a\xEF\xBF\xBD\x62", false},
        {"\\ISO 2022 IR 87", "\x1b$B;", "\xEF\xBF\xBD", false},  // half a character
        {"\\ISO 2022 IR 87", "x\x1b", "x\xEF\xBF\xBD", false},   // truncated escape
        {"", "J\xe9", "Jé", true},  // the default repertoire shows stray high bytes as ISO 8859-1
    };
    for (const auto& [charset, bytes, text, clean] : cases) {
        std::string out;
        EXPECT_EQ(Dicom_Charset::ToUTF8(Index(charset), bytes.data(), bytes.size(), out), clean) << text;
        EXPECT_EQ(out, text);
    }
}

TEST(CharsetRules, DecideCanEncodeAndTranscode) {
    const unsigned short latin1 = Index("ISO_IR 100"), utf8 = Dicom_Charset::UTF8Index();
    const std::tuple<unsigned short, const char*, unsigned short> decide[] = {{latin1, "Smith", latin1},
                                                                              {0, "Smith", 0},
                                                                              {latin1, "Jérôme", latin1},
                                                                              {latin1, "山田", utf8},
                                                                              {0, "Jérôme", utf8}};
    for (const auto& [current, text, decided] : decide)
        EXPECT_EQ(Dicom_Charset::Decide(current, text, std::strlen(text)), decided) << text;

    int status = 99;  // a value given in Unicode holds UTF-8 until a message re-encodes it
    Dicom_PN name(L"Buc^Jérôme", &status);
    EXPECT_EQ(name.GetCharset(), utf8);
    EXPECT_FALSE(Dicom_Charset::CanEncode(Index("ISO_IR 144"), name));
    EXPECT_EQ(Dicom_Charset::Transcode(name, latin1), 0);
    EXPECT_EQ(name.ToString(), "Buc^J\xe9r\xf4me");
    EXPECT_EQ(name, Dicom_PN(L"Buc^Jérôme", nullptr));  // equal across character sets
    Dicom_PN japanese(L"山田^太郎", nullptr);
    const std::string before = japanese.ToString();
    EXPECT_EQ(Dicom_Charset::Transcode(japanese, latin1), -1);
    EXPECT_EQ(japanese.ToString(), before);
    EXPECT_EQ(Dicom_Charset::Transcode(japanese, Index("\\ISO 2022 IR 87")), 0);
    EXPECT_EQ(japanese.ToString(), "\x1b$B;3ED\x1b(B^\x1b$BB@O:\x1b(B");
    EXPECT_TRUE(Dicom_Charset::CanEncode(Index("ISO_IR 144"), Dicom_PN("DOE^JOHN", nullptr)));
    Dicom_UI wrong(L"1.2.é", &status);  // text VRs outside the charset rules take no other letters
    EXPECT_EQ(status, -1);
}
