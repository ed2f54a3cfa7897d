// Character sets: the (0008,0005) registry, decoding of single-byte, ISO 2022, GB18030 and
// UTF-8 text, encoding back, and the rules that keep a message's character set right.
//
// The byte strings are the Patient's Name values of pydicom's charset test files
// (pydicom/data/charset_files) and the expected text is what pydicom decodes them to.
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_UI.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
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
        {"chrGerm", "ISO_IR 100",
         "\xc4neas^R\xfc"
         "diger",
         "Äneas^Rüdiger"},
        {"chrGreek", "ISO_IR 126", "\xc4\xe9\xef\xed\xf5\xf3\xe9\xef\xf2", "Διονυσιος"},
        {"chrHbrw", "ISO_IR 138", "\xf9\xf8\xe5\xef^\xe3\xe1\xe5\xf8\xe4", "שרון^דבורה"},
        {"chrRuss", "ISO_IR 144",
         "\xbb\xee\xda"
         "ce\xdc\xd1yp\xd3",
         "Люкceмбypг"},
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
        {"chrKoreanMulti", "\\ISO 2022 IR 149", "\x1b$)C\xb1\xe8\xc8\xf1\xc1\xdf", "김희중"},
        {"chrX1", "ISO_IR 192",
         "Wang^XiaoDong=\xe7\x8e\x8b^\xe5\xb0\x8f\xe6\x9d\xb1=", "Wang^XiaoDong=王^小東="},
        {"chrX2", "GB18030", "Wang^XiaoDong=\xcd\xf5^\xd0\xa1\xb6\xab=", "Wang^XiaoDong=王^小东="},
    };
    return samples;
}

unsigned short Index(const char* charset) { return Dicom_Charset::IndexOf(charset, std::strlen(charset)); }

}  // namespace

TEST(CharsetRegistry, SameValueSameIndexAndNamesRoundTrip) {
    EXPECT_EQ(Index(""), 0);
    EXPECT_EQ(Index("  "), 0);
    const unsigned short latin1 = Index("ISO_IR 100");
    EXPECT_NE(latin1, 0);
    EXPECT_EQ(Index("ISO_IR 100 "), latin1);  // padding does not make a new set
    EXPECT_EQ(Dicom_Charset::Name(latin1), "ISO_IR 100");
    const unsigned short jp = Index("\\ISO 2022 IR 87");
    EXPECT_NE(jp, latin1);
    EXPECT_EQ(Index(" \\ISO 2022 IR 87 "), jp);
    EXPECT_EQ(Dicom_Charset::Name(jp), "\\ISO 2022 IR 87");
    EXPECT_EQ(Dicom_Charset::UTF8Index(), Index("ISO_IR 192"));
    EXPECT_EQ(Dicom_Charset::Name(0), "");
    EXPECT_EQ(Dicom_Charset::Name(60000), "");  // unknown index: the default repertoire
    EXPECT_TRUE(Dicom_Charset::IsSupported(jp));
    EXPECT_FALSE(Dicom_Charset::IsSupported(Index("ISO_IR 999")));

    // registering from several threads at once gives one index per value
    std::vector<unsigned short> got(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < got.size(); ++i)
        threads.emplace_back([&got, i] { got[i] = Index("ISO 2022 IR 6\\ISO 2022 IR 58"); });
    for (auto& t : threads) t.join();
    for (unsigned short g : got) EXPECT_EQ(g, got[0]);
}

TEST(CharsetDecoding, PersonNamesOfEveryRepertoire) {
    for (const Sample& s : Samples()) {
        const unsigned short cs = Index(s.charset);
        std::string utf8;
        EXPECT_TRUE(Dicom_Charset::ToUTF8(cs, s.bytes.data(), s.bytes.size(), utf8, true)) << s.file;
        EXPECT_EQ(utf8, s.text) << s.file;

        // the same through a value and its wide-character form
        Dicom_PN pn(s.bytes, nullptr);
        pn.SetCharset(cs);
        std::wstring wide;
        Dicom_Charset::ToWide(Dicom_Charset::UTF8Index(), s.text, std::strlen(s.text), wide);
        EXPECT_EQ(std::wstring(static_cast<wchar_t*>(pn)), wide) << s.file;
    }
}

TEST(CharsetEncoding, UnicodeEncodesBackToTheOriginalBytes) {
    // ISO 2022 text returns to the first value's set before each delimiter and repeats the G1
    // designation after it, as these files do; the other sets have one code per character
    for (const Sample& s : Samples()) {
        std::string bytes;
        ASSERT_TRUE(Dicom_Charset::FromUTF8(Index(s.charset), s.text, std::strlen(s.text), bytes, true))
            << s.file;
        EXPECT_EQ(bytes, s.bytes) << s.file;
    }
    std::string out;
    EXPECT_FALSE(Dicom_Charset::FromUTF8(Index("ISO_IR 100"), "山", std::strlen("山"), out));
    EXPECT_FALSE(Dicom_Charset::FromUTF8(0, "é", std::strlen("é"), out));  // default repertoire: ASCII only
    EXPECT_FALSE(Dicom_Charset::FromUTF8(Index("ISO_IR 192"), "\xff", 1, out));  // not UTF-8
}

TEST(CharsetDecoding, DelimitersInsideMultiByteCharactersAreData) {
    // 俑 is ESC $ B 0x50 0x5C in JIS X 0208, 乗 is 0x81 0x5C in GB18030: the 0x5C is no '\'
    const std::string jis = "\x1b$BP\\\x1b(B\\ABC";
    Dicom_LO lo(jis, nullptr);
    lo.SetCharset(Index("\\ISO 2022 IR 87"));
    EXPECT_EQ(lo.GetVM(), 2);
    EXPECT_EQ(lo[1].ToString(), "ABC");
    EXPECT_STREQ(static_cast<wchar_t*>(lo), L"俑\\ABC");

    const std::string gb = "A\x81\\B\\C";
    Dicom_SH sh(gb, nullptr);
    sh.SetCharset(Index("GB18030"));
    EXPECT_EQ(sh.GetVM(), 2);
    EXPECT_STREQ(static_cast<wchar_t*>(sh[0]), L"A乗B");

    // without the character set the same bytes are two values plus one
    Dicom_SH plain(gb, nullptr);
    EXPECT_EQ(plain.GetVM(), 3);

    // person name components: '^' inside a JIS run (やまだ holds "$^") splits nothing
    const Sample& h31 = Samples()[6];
    Dicom_PN pn(h31.bytes, nullptr);
    pn.SetCharset(Index(h31.charset));
    EXPECT_EQ(pn.GetInitials().ToString(), "Y^T");
}

TEST(CharsetDecoding, BadBytesBecomeReplacementCharacters) {
    std::string out;
    EXPECT_FALSE(Dicom_Charset::ToUTF8(Index("ISO_IR 192"),
                                       "a\xff"
                                       "b",
                                       3, out));
    EXPECT_EQ(out,
              "a\xEF\xBF\xBD"
              "b");
    out.clear();
    EXPECT_FALSE(Dicom_Charset::ToUTF8(Index("\\ISO 2022 IR 87"), "\x1b$B;", 4, out));  // half a character
    EXPECT_EQ(out, "\xEF\xBF\xBD");
    out.clear();
    EXPECT_FALSE(Dicom_Charset::ToUTF8(Index("\\ISO 2022 IR 87"), "x\x1b", 2, out));  // truncated escape
    EXPECT_EQ(out, "x\xEF\xBF\xBD");
    out.clear();
    // the default repertoire shows stray high bytes as ISO 8859-1 rather than dropping them
    EXPECT_TRUE(Dicom_Charset::ToUTF8(0, "J\xe9", 2, out));
    EXPECT_EQ(out, "Jé");
}

TEST(CharsetRules, DecideCanEncodeAndTranscode) {
    const unsigned short latin1 = Index("ISO_IR 100");
    const unsigned short utf8 = Dicom_Charset::UTF8Index();
    EXPECT_EQ(Dicom_Charset::Decide(latin1, "Smith", 5), latin1);  // ASCII needs nothing
    EXPECT_EQ(Dicom_Charset::Decide(0, "Smith", 5), 0);
    EXPECT_EQ(Dicom_Charset::Decide(latin1, "Jérôme", std::strlen("Jérôme")), latin1);
    EXPECT_EQ(Dicom_Charset::Decide(latin1, "山田", std::strlen("山田")), utf8);
    EXPECT_EQ(Dicom_Charset::Decide(0, "Jérôme", std::strlen("Jérôme")), utf8);

    // a value given in Unicode holds UTF-8 until a message re-encodes it
    int status = 99;
    Dicom_PN name(L"Buc^Jérôme", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(name.GetCharset(), utf8);
    EXPECT_TRUE(Dicom_Charset::CanEncode(latin1, name));
    EXPECT_FALSE(Dicom_Charset::CanEncode(Index("ISO_IR 144"), name));
    EXPECT_EQ(Dicom_Charset::Transcode(name, latin1), 0);
    EXPECT_EQ(name.GetCharset(), latin1);
    EXPECT_EQ(name.ToString(), "Buc^J\xe9r\xf4me");     // the bytes of chrFren
    EXPECT_EQ(name, Dicom_PN(L"Buc^Jérôme", nullptr));  // equal across character sets

    Dicom_PN japanese(L"山田^太郎", nullptr);
    const std::string before = japanese.ToString();
    EXPECT_EQ(Dicom_Charset::Transcode(japanese, latin1), -1);
    EXPECT_EQ(japanese.ToString(), before);  // unchanged
    EXPECT_EQ(Dicom_Charset::Transcode(japanese, Index("\\ISO 2022 IR 87")), 0);
    EXPECT_EQ(japanese.ToString(), "\x1b$B;3ED\x1b(B^\x1b$BB@O:\x1b(B");

    // plain ASCII fits every set; text VRs outside the charset rules cannot take other letters
    EXPECT_TRUE(Dicom_Charset::CanEncode(Index("ISO_IR 144"), Dicom_PN("DOE^JOHN", nullptr)));
    Dicom_UI uid(L"1.2.840.10008", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(uid.GetCharset(), 0);
    Dicom_UI wrong(L"1.2.é", &status);
    EXPECT_EQ(status, -1);
}

TEST(CharsetDecoding, ConvertersWorkFromManyThreadsAtOnce) {
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < results.size(); ++t) {
        threads.emplace_back([&results, t] {
            const Sample& s = Samples()[static_cast<size_t>(6 + t % 4)];
            std::string last;
            for (int i = 0; i < 200; ++i) {
                last.clear();
                Dicom_Charset::ToUTF8(Index(s.charset), s.bytes.data(), s.bytes.size(), last, true);
            }
            results[t] = last == s.text ? "ok" : last;
        });
    }
    for (auto& th : threads) th.join();
    for (const std::string& r : results) EXPECT_EQ(r, "ok");
}

TEST(CharsetDecoding, OtherSetsAndCodeExtensions) {
    // expected text from Python's codecs (shift_jis, tis-620, iso8859-15, gb2312, iso2022_jp_2)
    struct Case {
        const char* charset;
        std::string bytes;
        const char* text;
    };
    const Case cases[] = {
        {"ISO_IR 13", "\xb1\xb2\xb3", "ｱｲｳ"},
        {"ISO_IR 166", "\xca\xc7\xd1\xca\xb4\xd5", "สวัสดี"},
        {"ISO_IR 203", "\xa4", "€"},
        {"ISO 2022 IR 6\\ISO 2022 IR 100", "Ren\x1b-A\xe9", "René"},
        {"ISO 2022 IR 6\\ISO 2022 IR 58", "\x1b$)A\xd6\xd0\xce\xc4", "中文"},
        {"\\ISO 2022 IR 159", "\x1b$(D0!\x1b(B", "丂"},
        {"\\ISO 2022 IR 87\\ISO 2022 IR 159", "\x1b$B;3\x1b$(D0!\x1b(B", "山丂"},
    };
    for (const Case& c : cases) {
        std::string utf8;
        EXPECT_TRUE(Dicom_Charset::ToUTF8(Index(c.charset), c.bytes.data(), c.bytes.size(), utf8))
            << c.charset;
        EXPECT_EQ(utf8, c.text) << c.charset;
        std::string back;
        ASSERT_TRUE(Dicom_Charset::FromUTF8(Index(c.charset), c.text, std::strlen(c.text), back))
            << c.charset;
        EXPECT_EQ(back, c.bytes) << c.charset;
    }
}
