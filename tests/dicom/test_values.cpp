// Value classes: validation, null constants, equality, indexing, printing, query matching,
// binary byte orders, byte strings and the value services.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

template <class V>
int StatusOf(const char* text) {
    int status = 99;
    V v(text, &status);
    return status;
}

const char UI65[] = "1.2.3333333333333333333333333333333333333333333333333333333333333";

}  // namespace

TEST(ValueValidation, EachVRAcceptsItsFormAndRejectsOthers) {
    const struct {
        int (*check)(const char*);
        std::vector<const char*> good, bad;
    } rows[] = {
        {StatusOf<Dicom_CS>,
         {"ORIGINAL\\PRIMARY\\AXIAL", "MONOCHROME2 "},
         {"original", "A-B", "ABCDEFGHIJKLMNOPQ"}},
        {StatusOf<Dicom_DA>, {"20240229", "-20240131"}, {"20230229", "20241301", "2024-01-01"}},
        {StatusOf<Dicom_TM>, {"235959.123456", "0930"}, {"2400", "120000.1234567"}},
        {StatusOf<Dicom_DT>, {"20240101123000.5+0100", "2024"}, {"202401011"}},
        {StatusOf<Dicom_IS>, {" -42 \\+7"}, {"2147483648", "1.5"}},
        {StatusOf<Dicom_DS>, {"0.5\\-1.25e-3\\ 7 "}, {"1,5", "nan", "12345678901234567"}},
        {StatusOf<Dicom_UI>, {"1.2.840.10008.1.2.1"}, {"1.02.3", "1..2", "1.2.a", UI65}},
        {StatusOf<Dicom_AS>, {"045Y"}, {"45Y"}},
        {StatusOf<Dicom_SH>, {"0123456789ABCDEF"}, {"0123456789ABCDEFG"}},
        {StatusOf<Dicom_LO>, {"Smith"}, {"tab\there"}},
        {StatusOf<Dicom_LT>, {"one\r\ntwo \\ three"}, {}},
        {StatusOf<Dicom_PN>, {"DOE^JOHN^^DR^JR"}, {"A^B^C^D^E^F", "A=B=C=D"}},
        {StatusOf<Dicom_AE>, {"STORESCP"}, {"STORE\nSCP"}},
    };
    for (const auto& r : rows) {
        for (const char* text : r.good) EXPECT_EQ(r.check(text), 0) << text;
        for (const char* text : r.bad) EXPECT_EQ(r.check(text), -1) << text;
    }
}

TEST(ValueValidation, InvalidTextIsKeptAndTheIntIsACopyFlag) {
    int status = 0;
    Dicom_CS bad("lower case", &status);
    EXPECT_EQ(status, -1);
    EXPECT_STREQ(static_cast<char*>(bad), "lower case");
    EXPECT_TRUE(Dicom_LO(static_cast<const char*>(nullptr), &status).IsEmpty());
    const char text[] = "Unknown";
    for (int copy : {1, 0, 5, -1}) {
        Dicom_LO lo(text, copy, &status);
        EXPECT_EQ(lo.ToString(), "Unknown") << copy;
        EXPECT_EQ(lo.GetData() == reinterpret_cast<const unsigned char*>(text), copy == 0) << copy;
    }
}

TEST(ValueEquality, NullConstantsPaddingAndValueByValue) {
    EXPECT_TRUE(CS_NULL.IsEmpty() && CS_NULL.GetVM() == 0);
    EXPECT_TRUE(Dicom_AT() == At_NULL && Dicom_SQ(SQ_NULL) == SQ_NULL);
    EXPECT_FALSE(Dicom_US(0) == US_NULL);                    // zero is a value, not an absence
    EXPECT_TRUE(Dicom_UI(std::string("\0", 1)) == UI_NULL);  // padding alone is no value
    EXPECT_TRUE(Dicom_LO("  ", nullptr) == LO_NULL);

    EXPECT_EQ(Dicom_CS("AXIAL ", nullptr), Dicom_CS("AXIAL", nullptr));
    EXPECT_EQ(Dicom_UI(std::string("1.2.3\0", 6)), Dicom_UI("1.2.3", nullptr));
    EXPECT_EQ(Dicom_LO("  Smith", nullptr), Dicom_LO("Smith", nullptr));
    EXPECT_NE(Dicom_LT("  Smith", nullptr), Dicom_LT("Smith", nullptr));  // free text keeps leading spaces
    EXPECT_EQ(Dicom_CS("A \\B", nullptr), Dicom_CS("A\\B ", nullptr));
    EXPECT_NE(Dicom_CS("A\\B", nullptr), Dicom_CS("B\\A", nullptr));
    EXPECT_NE(Dicom_CS("AB", nullptr), Dicom_CS("A", nullptr));
    EXPECT_EQ(Dicom_US(std::vector<unsigned short>{1, 2}), Dicom_US(1) | Dicom_US(2));
    EXPECT_NE(Dicom_US(1), Dicom_SS(1));  // binary values need the same VR
}

TEST(ValueIndexing, BracketsConversionsAndConcatenation) {
    Dicom_DS ds("0.5\\1.25\\-3", nullptr);
    EXPECT_DOUBLE_EQ(static_cast<double>(ds[1]), 1.25);
    EXPECT_DOUBLE_EQ(static_cast<double>(ds), 0.5);
    EXPECT_TRUE(ds[3].IsEmpty() && ds[-1].IsEmpty());
    EXPECT_EQ(Dicom_CS(" ORIGINAL \\PRIMARY\\LOCALIZER", nullptr)[0].ToString(), "ORIGINAL");
    EXPECT_EQ(static_cast<int>(Dicom_IS("12\\-7", nullptr)[1]), -7);
    Dicom_US us(std::vector<unsigned short>{512, 256, 65535});
    EXPECT_EQ(static_cast<unsigned short>(us[2]), 65535);
    EXPECT_TRUE(us[3].IsEmpty());
    Dicom_ST st("a\\b", nullptr);  // free text has one value: a backslash is a character
    EXPECT_EQ(st.GetVM(), 1);
    EXPECT_EQ(st[0].ToString(), "a\\b");

    EXPECT_EQ((Dicom_IS() | Dicom_IS(5)).ToString(), "5");
    EXPECT_EQ((Dicom_SL(1) | Dicom_SL(-2) | Dicom_SL(3)).ToString(), "1\\-2\\3");
    Dicom_CS cs("A \\B ", nullptr);  // the trailing padding of the old text goes
    EXPECT_EQ(cs.AppendValue(Dicom_CS("C", nullptr)), 0);
    EXPECT_EQ(cs.ToString(), "A \\B\\C");
    EXPECT_EQ(cs.AppendValue(Dicom_LO("D", nullptr)), -1);
}

TEST(ValueText, PrintedFormsAndBuffers) {
    EXPECT_EQ(Dicom_FL(0.1f).ToString(), "0.1");
    EXPECT_EQ(Dicom_DS(1.0 / 3.0).ToString().size(), 16u);  // as near as 16 characters allow
    EXPECT_EQ(Dicom_IS(-2147483647 - 1).ToString(), "-2147483648");
    unsigned char words[4] = {0x34, 0x12, 0xCD, 0xAB};
    EXPECT_EQ(Dicom_OW(words, 4, 0, nullptr).ToString(), "1234\\abcd");
    Dicom_LO lo("Smith ", nullptr);
    EXPECT_STREQ(static_cast<wchar_t*>(lo), L"Smith");
    char buf[4], big[16];
    EXPECT_EQ(lo.WriteToBuffer(buf, sizeof buf), -1);  // truncated
    EXPECT_STREQ(buf, "Smi");
    EXPECT_EQ(lo.WriteToBuffer(big, sizeof big), 5);
    std::string out = "x=";
    Dicom_LT("abcdefghij", nullptr).PrintToStr(out, 4);
    EXPECT_EQ(out, "x=abcd...");
}

TEST(ValueQuery, WildcardsRangesAndUniversalMatch) {
    const Dicom_PN name("DOE^JOHN", nullptr);
    for (const char* key : {"DOE*", "D?E^J*N", "*"})
        EXPECT_TRUE(name.MatchAndRetrieve(Dicom_PN(key, nullptr)));
    for (const char* key : {"DOE", "?OE"}) EXPECT_FALSE(name.MatchAndRetrieve(Dicom_PN(key, nullptr)));
    EXPECT_TRUE(name.MatchAndRetrieve(PN_NULL));
    const Dicom_CS types("ORIGINAL\\PRIMARY\\AXIAL", nullptr);  // one of the values suffices
    EXPECT_TRUE(types.MatchAndRetrieve(Dicom_CS("AXIAL", nullptr)));
    EXPECT_FALSE(types.MatchAndRetrieve(Dicom_CS("LOCALIZER", nullptr)));
    const Dicom_DA date("20240315", nullptr);
    EXPECT_TRUE(date.MatchAndRetrieve(Dicom_DA("-20240315", nullptr)));
    EXPECT_FALSE(date.MatchAndRetrieve(Dicom_DA("20240316-", nullptr)));
    EXPECT_TRUE(Dicom_TM("101530", nullptr).MatchAndRetrieve(Dicom_TM("1000-1015", nullptr)));
    EXPECT_FALSE(DA_NULL.MatchAndRetrieve(Dicom_DA("20240101-", nullptr)));
}

TEST(BinaryValues, ConstructorsReadBothByteOrders) {
    unsigned char be[] = {0x01, 0x02, 0x03, 0x04};
    int status = 99;
    Dicom_US usBig(be, 4, 0, DICOM_BIG_ENDIAN, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(usBig.Get(1), 0x0304);
    EXPECT_EQ(be[0], 0x01);  // the caller's bytes are not swapped in place
    EXPECT_EQ(Dicom_US(be, 4, 0, DICOM_LITTLE_ENDIAN, &status).Get(0), 0x0201);
    EXPECT_EQ(static_cast<int>(Dicom_SL(be, 4, 1, DICOM_BIG_ENDIAN, &status)), 0x01020304);
    const double value = -1234.5625;
    const float f = 3.75f;
    unsigned char d8[8], f4[4];
    std::memcpy(d8, &value, 8);
    std::memcpy(f4, &f, 4);
    std::reverse(d8, d8 + 8);
    std::reverse(f4, f4 + 4);
    EXPECT_DOUBLE_EQ(static_cast<double>(Dicom_FD(d8, 8, 1, DICOM_BIG_ENDIAN, &status)), value);
    EXPECT_FLOAT_EQ(static_cast<float>(Dicom_FL(f4, 4, 1, DICOM_BIG_ENDIAN, &status)), f);
    unsigned char atBig[] = {0x00, 0x28, 0x00, 0x10};  // group and element each swapped as 16 bits
    Dicom_AT at(atBig, 4, 1, DICOM_BIG_ENDIAN, &status);
    EXPECT_EQ(at.GetTag(0), Dicom_Tag(0x0028, 0x0010));
    EXPECT_EQ(at[1].GetTag(0), Dicom_Tag::ILLEGAL_TAG);
    unsigned char three[] = {1, 2, 3};  // not a multiple of the width: reported and kept
    Dicom_US odd(three, 3, 1, DICOM_LITTLE_ENDIAN, &status);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(odd.GetRawLen(), 3u);
    EXPECT_EQ(odd.SetRaw("\x01\x02\x03", 3), -1);
    EXPECT_EQ(odd.SetRaw("\x01\x00\x02\x00", 4), 0);
    EXPECT_EQ(odd.ToString(), "1\\2");
}

TEST(ByteStrings, PaddingChecksumAndFragments) {
    unsigned char odd[] = {1, 2, 3}, dumped[4] = {9, 9, 9, 9};
    Dicom_OB ob(odd, 3, 1, nullptr);
    EXPECT_EQ(ob.GetDumpLen().GetDumpLen(), 4u);
    EXPECT_EQ(ob.Dump(dumped, 4), 4);
    EXPECT_EQ(dumped[3], 0);
    EXPECT_EQ(ob.Dump(dumped, 3), -1);
    const char check[] = "123456789";
    EXPECT_EQ(Dicom_UN(const_cast<char*>(check), 9, 0, nullptr).CheckSum(),
              0xCBF43926u);  // CRC-32 check value
    // Encapsulated: an empty offset table and two fragments; then one fragment that lies.
    const unsigned char items[] = {0xFE, 0xFF, 0x00, 0xE0, 0, 0, 0,    0,    0xFE, 0xFF,
                                   0x00, 0xE0, 4,    0,    0, 0, 0xAA, 0xBB, 0xCC, 0xDD,
                                   0xFE, 0xFF, 0x00, 0xE0, 2, 0, 0,    0,    0x11, 0x22};
    Dicom_OB pixels(const_cast<unsigned char*>(items), sizeof items, 1, nullptr);
    EXPECT_FALSE(pixels.GetEncapsulatedData().valid);
    pixels.SetEncapsulated(true);
    const Dicom_EncapsulatedData enc = pixels.GetEncapsulatedData();
    ASSERT_TRUE(enc.valid);
    ASSERT_EQ(enc.fragments.size(), 2u);
    EXPECT_EQ(enc.fragments[1].offset, 28u);
    EXPECT_EQ(enc.fragments[1].length, 2u);
    EXPECT_EQ(pixels.GetDumpLen().GetDumpLen(), sizeof items + 8);  // plus the sequence delimiter
    unsigned char damaged[] = {0xFE, 0xFF, 0x00, 0xE0, 0, 0, 0, 0, 0xFE,
                               0xFF, 0x00, 0xE0, 0xFF, 0, 0, 0, 1, 2};
    Dicom_OB bad(damaged, sizeof damaged, 1, nullptr);
    bad.SetEncapsulated(true);
    EXPECT_FALSE(bad.GetEncapsulatedData().valid);
}

TEST(ValueServices, InitialsEncodedIdentifiersAndClock) {
    const std::pair<const char*, const char*> initials[] = {
        {"DOE^JOHN^^DR", "D^J^^D"},  {"DOE^JOHN^^", "D^J"},    {" DOE ^ JOHN", "D^J"},
        {"Yamada^Tarou=X^Y", "Y^T"}, {"A^B\\C^D", "A^B\\C^D"}, {"", ""},
    };
    for (const auto& [name, expected] : initials)
        EXPECT_EQ(Dicom_PN(name, nullptr).GetInitials().ToString(), expected) << name;

    setenv("IOD_DEID_KEY", "site-key-for-tests", 1);  // read once, on first use
    // HMAC-SHA-256 under this key, as `openssl dgst -sha256 -hmac` computes it
    const Dicom_LO encoded = Dicom_LO("PAT-12345", nullptr).GetEncoded();
    EXPECT_EQ(encoded.ToString(), "3DCC7DEBBF7F550B76DA5D41F29D66D228EEC2EC53271BD53AC1CE527758F616");
    EXPECT_EQ(Dicom_LO(" PAT-12345 ", nullptr).GetEncoded(), encoded);
    EXPECT_TRUE(encoded.IsValid());
    EXPECT_TRUE(LO_NULL.GetEncoded().IsEmpty());

    const Dicom_DA today = Dicom_DA::GetCurrentDate();
    EXPECT_TRUE(today.IsValid() && today.GetRawLen() == 8u) << today.ToString();
    const std::string tick = Dicom_TM::GetTickCount().ToString();
    EXPECT_TRUE(std::regex_match(tick, std::regex("[0-2][0-9][0-5][0-9][0-6][0-9]\\.[0-9]{6}"))) << tick;
}

TEST(ValueServices, GeneratedUIDsAreValidAndUniqueAcrossThreads) {
    static Dicom_UIDGenerator generator;
    const std::regex form("2\\.25\\.(0|[1-9][0-9]*)");
    std::vector<std::string> made[4];
    std::vector<std::thread> threads;
    for (auto& mine : made)
        threads.emplace_back([&mine] {
            std::generate_n(std::back_inserter(mine), 500, [] { return generator.GenerateString(); });
        });
    for (auto& th : threads) th.join();
    std::set<std::string> all;
    for (const auto& v : made) all.insert(v.begin(), v.end());
    EXPECT_EQ(all.size(), 2000u);
    for (const std::string& uid : all) EXPECT_TRUE(std::regex_match(uid, form) && uid.size() <= 64u) << uid;
}
