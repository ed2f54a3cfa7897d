// Value classes: validation, null constants, equality, indexing and conversions, binary byte
// orders, byte strings, sequences and the value services (initials, encoded IDs, UIDs, clock).
#include <Dicom/Dicom_AE.h>
#include <Dicom/Dicom_AS.h>
#include <Dicom/Dicom_AT.h>
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_DA.h>
#include <Dicom/Dicom_DS.h>
#include <Dicom/Dicom_DT.h>
#include <Dicom/Dicom_FD.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_IS.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_LT.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OB.h>
#include <Dicom/Dicom_OW.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SL.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_SS.h>
#include <Dicom/Dicom_ST.h>
#include <Dicom/Dicom_TM.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDGenerator.h>
#include <Dicom/Dicom_UL.h>
#include <Dicom/Dicom_UN.h>
#include <Dicom/Dicom_US.h>
#include <Dicom/Dicom_UT.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
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

}  // namespace

TEST(ValueValidation, EachVRAcceptsItsFormAndRejectsOthers) {
    struct Case {
        int (*check)(const char*);
        const char* text;
        int status;
    };
    const Case cases[] = {
        {StatusOf<Dicom_CS>, "ORIGINAL\\PRIMARY\\AXIAL", 0},
        {StatusOf<Dicom_CS>, "MONOCHROME2 ", 0},
        {StatusOf<Dicom_CS>, "original", -1},           // lower case
        {StatusOf<Dicom_CS>, "A-B", -1},                // illegal character
        {StatusOf<Dicom_CS>, "ABCDEFGHIJKLMNOPQ", -1},  // 17 characters
        {StatusOf<Dicom_DA>, "20240229", 0},            // leap day
        {StatusOf<Dicom_DA>, "20230229", -1},
        {StatusOf<Dicom_DA>, "20241301", -1},
        {StatusOf<Dicom_DA>, "2024-01-01", -1},
        {StatusOf<Dicom_DA>, "20240101-20240131", 0},  // query range
        {StatusOf<Dicom_DA>, "-20240131", 0},
        {StatusOf<Dicom_TM>, "235959.123456", 0},
        {StatusOf<Dicom_TM>, "0930", 0},
        {StatusOf<Dicom_TM>, "2400", -1},
        {StatusOf<Dicom_TM>, "120000.1234567", -1},
        {StatusOf<Dicom_DT>, "20240101123000.5+0100", 0},
        {StatusOf<Dicom_DT>, "2024", 0},
        {StatusOf<Dicom_DT>, "202401011", -1},
        {StatusOf<Dicom_IS>, " -42 \\+7", 0},
        {StatusOf<Dicom_IS>, "2147483648", -1},  // beyond 32 bits
        {StatusOf<Dicom_IS>, "1.5", -1},
        {StatusOf<Dicom_DS>, "0.5\\-1.25e-3\\ 7 ", 0},
        {StatusOf<Dicom_DS>, "1,5", -1},
        {StatusOf<Dicom_DS>, "nan", -1},
        {StatusOf<Dicom_DS>, "12345678901234567", -1},  // 17 characters
        {StatusOf<Dicom_UI>, "1.2.840.10008.1.2.1", 0},
        {StatusOf<Dicom_UI>, "1.02.3", -1},  // leading zero in a component
        {StatusOf<Dicom_UI>, "1..2", -1},
        {StatusOf<Dicom_UI>, "1.2.a", -1},
        {StatusOf<Dicom_UI>, "1.2.3333333333333333333333333333333333333333333333333333333333333", -1},  // 65
        {StatusOf<Dicom_AS>, "045Y", 0},
        {StatusOf<Dicom_AS>, "45Y", -1},
        {StatusOf<Dicom_SH>, "0123456789ABCDEF", 0},
        {StatusOf<Dicom_SH>, "0123456789ABCDEFG", -1},
        {StatusOf<Dicom_LO>, "tab\there", -1},
        {StatusOf<Dicom_LT>, "line one\r\nline two \\ with backslash", 0},
        {StatusOf<Dicom_PN>, "DOE^JOHN^^DR^JR", 0},
        {StatusOf<Dicom_PN>, "A^B^C^D^E^F", -1},  // six components
        {StatusOf<Dicom_PN>, "A=B=C=D", -1},      // four groups
        {StatusOf<Dicom_AE>, "STORESCP", 0},
        {StatusOf<Dicom_AE>, "STORE\nSCP", -1},
    };
    for (const Case& c : cases) EXPECT_EQ(c.check(c.text), c.status) << c.text;
}

TEST(ValueValidation, InvalidTextIsKeptAndNullTextIsEmpty) {
    int status = 0;
    Dicom_CS bad("lower case", &status);
    EXPECT_EQ(status, -1);
    EXPECT_STREQ(static_cast<char*>(bad), "lower case");
    EXPECT_FALSE(bad.IsValid());

    status = 99;
    Dicom_LO none(static_cast<const char*>(nullptr), &status);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(none.IsEmpty());

    // (text, int, status): the int is a copy flag, never a length; the whole text is kept
    const char text[] = "Unknown";
    for (int copy : {1, 0, 5, -1}) {
        status = 99;
        Dicom_LO lo(text, copy, &status);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(lo.ToString(), "Unknown") << copy;
        EXPECT_EQ(lo.GetData() == reinterpret_cast<const unsigned char*>(text), copy == 0) << copy;
    }
    Dicom_SH sh("99SDM", 1, &status);
    EXPECT_EQ(sh.ToString(), "99SDM");
    EXPECT_EQ(Dicom_SH("99SDM", 1, nullptr), Dicom_SH("99SDM", nullptr));
    Dicom_SH tooLong("SEVENTEEN_CHARS_X", 1, &status);  // kept whole, flagged by the status
    EXPECT_EQ(status, -1);
    EXPECT_EQ(tooLong.ToString(), "SEVENTEEN_CHARS_X");
    EXPECT_TRUE(Dicom_SH(static_cast<const char*>(nullptr), 1, nullptr).IsEmpty());
    // a copy of a value that points at the caller's text owns its bytes
    std::string scratch = "ABC";
    Dicom_CS pointing(scratch.c_str(), 0, nullptr);
    const Dicom_CS owned(pointing);
    scratch[0] = 'X';
    EXPECT_EQ(owned.ToString(), "ABC");
}

TEST(NullConstants, AreEmptyAndEqualToEmptyValuesAndTheirCopies) {
    EXPECT_TRUE(CS_NULL.IsEmpty());
    EXPECT_EQ(CS_NULL.GetVM(), 0);
    EXPECT_TRUE(Dicom_CS() == CS_NULL);
    EXPECT_TRUE(Dicom_CS("", nullptr) == CS_NULL);
    EXPECT_TRUE(Dicom_US(US_NULL) == US_NULL);
    EXPECT_TRUE(Dicom_AT() == At_NULL);
    EXPECT_TRUE(Dicom_OB() == OB_NULL);
    EXPECT_TRUE(Dicom_UN(UN_NULL) == UN_NULL);
    EXPECT_TRUE(Dicom_SQ(SQ_NULL) == SQ_NULL);
    EXPECT_TRUE(SQ_NULL.IsEmpty());

    // a present value differs from the null constant, whatever its class
    EXPECT_FALSE(Dicom_CS("M", nullptr) == CS_NULL);
    EXPECT_FALSE(Dicom_US(0) == US_NULL);  // zero is a value, not an absence
    EXPECT_FALSE(Dicom_DS(0.0) == DS_NULL);
    EXPECT_FALSE(Dicom_UI("1.2", nullptr) == UI_NULL);

    // padding alone is no value: an absent and an empty attribute fail a value test alike
    EXPECT_TRUE(Dicom_UI(std::string("\0", 1)) == UI_NULL);
    EXPECT_TRUE(Dicom_LO("  ", nullptr) == LO_NULL);
}

TEST(ValueKinds, FactoryMakesEveryClassWithItsKind) {
    const char* multi[] = {"AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL", "IS", "LO",
                           "PN", "SH", "SL", "SS", "SV", "TM", "UC", "UI", "UL", "US", "UV"};
    const char* text[] = {"LT", "ST", "UT", "UR"};
    const char* other[] = {"OB", "OD", "OF", "OL", "OV", "OW", "UN"};
    auto check = [](const char* name, int kind) {
        const Dicom_VR vr = Dicom_VRFromName(name);
        ASSERT_NE(vr, Dicom_VR::NONE) << name;
        Dicom_Type* v = Dicom_CreateValue(vr);
        EXPECT_EQ(v->GetVR(), vr) << name;
        EXPECT_STREQ(v->GetVRName(), name);
        EXPECT_EQ(v->GetKind(), kind) << name;
        EXPECT_TRUE(v->IsEmpty());
        Dicom_Type* copy = v->Clone();
        EXPECT_EQ(copy->GetVR(), vr);
        delete copy;
        delete v;
    };
    for (const char* n : multi) check(n, DICOM_KIND_MULTI_VALUED);
    for (const char* n : text) check(n, DICOM_KIND_TEXT);
    for (const char* n : other) check(n, DICOM_KIND_OTHER);
    check("SQ", DICOM_KIND_SEQUENCE);
    Dicom_Type* unknown = Dicom_CreateValue(Dicom_VR::NONE);
    EXPECT_EQ(unknown->GetVR(), Dicom_VR::UN);
    delete unknown;
}

TEST(ValueEquality, TextIgnoresPaddingAndComparesValueByValue) {
    EXPECT_EQ(Dicom_CS("AXIAL ", nullptr), Dicom_CS("AXIAL", nullptr));
    EXPECT_EQ(Dicom_UI(std::string("1.2.3\0", 6)), Dicom_UI("1.2.3", nullptr));
    EXPECT_EQ(Dicom_LO("  Smith", nullptr), Dicom_LO("Smith", nullptr));  // leading spaces do not count
    EXPECT_NE(Dicom_LT("  Smith", nullptr), Dicom_LT("Smith", nullptr));  // in free text they do
    EXPECT_EQ(Dicom_CS("A \\B", nullptr), Dicom_CS("A\\B ", nullptr));
    EXPECT_NE(Dicom_CS("A\\B", nullptr), Dicom_CS("A\\B\\C", nullptr));
    EXPECT_NE(Dicom_CS("A\\B", nullptr), Dicom_CS("B\\A", nullptr));
    EXPECT_NE(Dicom_CS("AB", nullptr), Dicom_CS("A", nullptr));

    // binary values compare byte for byte and need the same VR
    EXPECT_EQ(Dicom_US(std::vector<unsigned short>{1, 2}), Dicom_US(1) | Dicom_US(2));
    EXPECT_NE(Dicom_US(1), Dicom_US(2));
    EXPECT_NE(Dicom_US(1), Dicom_SS(1));
    EXPECT_NE(Dicom_US(1), Dicom_CS("1", nullptr));

    // copies compare equal to their source and own their bytes
    std::string text = "ORIGINAL\\PRIMARY";
    Dicom_CS attached(text.data(), static_cast<unsigned>(text.size()), 0, nullptr);
    Dicom_CS copy(attached);
    text.assign(text.size(), 'X');
    EXPECT_EQ(copy.ToString(), "ORIGINAL\\PRIMARY");
    Dicom_CS assigned;
    assigned = copy;
    EXPECT_EQ(assigned, copy);
}

TEST(ValueIndexing, OperatorBracketAndConversions) {
    Dicom_DS ds("0.5\\1.25\\-3", nullptr);
    EXPECT_EQ(ds.GetVM(), 3);
    const double d = ds[1];
    EXPECT_DOUBLE_EQ(d, 1.25);
    EXPECT_DOUBLE_EQ(static_cast<double>(ds), 0.5);
    EXPECT_EQ(ds[2].ToString(), "-3");
    EXPECT_TRUE(ds[3].IsEmpty());
    EXPECT_TRUE(ds[-1].IsEmpty());

    Dicom_CS cs(" ORIGINAL \\PRIMARY\\LOCALIZER", nullptr);
    EXPECT_EQ(cs[2], Dicom_CS("LOCALIZER", nullptr));
    EXPECT_EQ(cs[0].ToString(), "ORIGINAL");
    EXPECT_EQ(cs[1].GetVM(), 1);

    Dicom_IS is("12\\-7", nullptr);
    EXPECT_EQ(static_cast<int>(is[1]), -7);
    EXPECT_EQ(static_cast<int>(Dicom_IS("junk", nullptr)), 0);
    int n = 0;
    EXPECT_EQ(Dicom_IS("junk", nullptr).GetValue(0, &n), -1);

    Dicom_US us(std::vector<unsigned short>{512, 256, 65535});
    EXPECT_EQ(us.GetVM(), 3);
    const unsigned short rows = us[2];
    EXPECT_EQ(rows, 65535);
    EXPECT_EQ(us[1].GetVM(), 1);
    EXPECT_TRUE(us[3].IsEmpty());
    EXPECT_EQ(static_cast<unsigned short>(US_NULL), 0);

    Dicom_SS ss(std::vector<short>{-2, 3});
    EXPECT_EQ(static_cast<short>(ss[0]), -2);
    Dicom_UL ul(4000000000u);
    EXPECT_EQ(static_cast<unsigned int>(ul), 4000000000u);
    Dicom_SL sl(std::vector<int>{-100000, 7});
    EXPECT_EQ(static_cast<int>(sl[0]), -100000);
    Dicom_FL fl(std::vector<float>{0.25f, -1.5f});
    EXPECT_FLOAT_EQ(static_cast<float>(fl[1]), -1.5f);
    Dicom_FD fd(std::vector<double>{1e-300, 2.5});
    EXPECT_DOUBLE_EQ(static_cast<double>(fd[0]), 1e-300);

    // free text has one value: a backslash is a character
    Dicom_ST st("a\\b", nullptr);
    EXPECT_EQ(st.GetVM(), 1);
    EXPECT_EQ(st[0].ToString(), "a\\b");
    EXPECT_TRUE(st[1].IsEmpty());
}

TEST(ValueConcatenation, OperatorBarAndAppendValue) {
    const Dicom_IS is = Dicom_IS(1) | Dicom_IS(2);
    EXPECT_EQ(is.GetVM(), 2);
    EXPECT_EQ(is.ToString(), "1\\2");
    EXPECT_EQ((Dicom_IS() | Dicom_IS(5)).ToString(), "5");

    const Dicom_SL sl = Dicom_SL(1) | Dicom_SL(-2) | Dicom_SL(3);
    EXPECT_EQ(sl.GetVM(), 3);
    EXPECT_EQ(sl.ToString(), "1\\-2\\3");

    const Dicom_AT at = Dicom_AT(0x0018, 0x1063) | Dicom_AT(0x0018, 0x1065);
    EXPECT_EQ(at.ToString(), "(0018,1063)\\(0018,1065)");

    Dicom_CS cs("A \\B ", nullptr);  // trailing padding of the old text goes
    EXPECT_EQ(cs.AppendValue(Dicom_CS("C", nullptr)), 0);
    EXPECT_EQ(cs.ToString(), "A \\B\\C");
    EXPECT_EQ(cs.AppendValue(Dicom_LO("D", nullptr)), -1);
    EXPECT_EQ(cs.GetVM(), 3);
}

TEST(ValueText, PrintedFormsAndBuffers) {
    EXPECT_EQ(Dicom_US(512).ToString(), "512");
    EXPECT_EQ(Dicom_SS(-5).ToString(), "-5");
    EXPECT_EQ(Dicom_FD(std::vector<double>{0.5, 1.25}).ToString(), "0.5\\1.25");
    EXPECT_EQ(Dicom_FL(0.1f).ToString(), "0.1");
    EXPECT_EQ(Dicom_AT(0x0028, 0x0010).ToString(), "(0028,0010)");
    EXPECT_EQ(Dicom_DS(0.1).ToString(), "0.1");
    EXPECT_EQ(Dicom_DS(1.0 / 3.0).ToString().size(), 16u);  // as near as 16 characters allow
    EXPECT_EQ(Dicom_IS(-2147483647 - 1).ToString(), "-2147483648");

    unsigned char bytes[40];
    for (int i = 0; i < 40; ++i) bytes[i] = static_cast<unsigned char>(i);
    Dicom_OB ob(bytes, sizeof bytes, 0, nullptr);
    const std::string hex = ob.ToString();
    EXPECT_EQ(hex.rfind("00\\01\\02", 0), 0u);
    EXPECT_EQ(hex.substr(hex.size() - 3), "...");
    unsigned char words[4] = {0x34, 0x12, 0xCD, 0xAB};
    EXPECT_EQ(Dicom_OW(words, 4, 0, nullptr).ToString(), "1234\\abcd");

    Dicom_LO lo("Smith ", nullptr);
    EXPECT_STREQ(static_cast<char*>(lo), "Smith");
    EXPECT_STREQ(static_cast<wchar_t*>(lo), L"Smith");
    char buf[4];
    EXPECT_EQ(lo.WriteToBuffer(buf, sizeof buf), -1);  // truncated
    EXPECT_STREQ(buf, "Smi");
    char big[16];
    EXPECT_EQ(lo.WriteToBuffer(big, sizeof big), 5);
    EXPECT_EQ(lo.WriteToBuffer(nullptr, 8), -1);

    std::string out = "x=";
    Dicom_LT("abcdefghij", nullptr).PrintToStr(out, 4);
    EXPECT_EQ(out, "x=abcd...");
}

TEST(ValueQuery, WildcardsRangesAndUniversalMatch) {
    const Dicom_PN name("DOE^JOHN", nullptr);
    EXPECT_TRUE(name.MatchAndRetrieve(Dicom_PN("DOE*", nullptr)));
    EXPECT_TRUE(name.MatchAndRetrieve(Dicom_PN("D?E^J*N", nullptr)));
    EXPECT_TRUE(name.MatchAndRetrieve(Dicom_PN("*", nullptr)));
    EXPECT_FALSE(name.MatchAndRetrieve(Dicom_PN("DOE", nullptr)));
    EXPECT_FALSE(name.MatchAndRetrieve(Dicom_PN("?OE", nullptr)));
    EXPECT_TRUE(name.MatchAndRetrieve(PN_NULL));  // an empty key matches anything

    const Dicom_CS types("ORIGINAL\\PRIMARY\\AXIAL", nullptr);  // one of the values suffices
    EXPECT_TRUE(types.MatchAndRetrieve(Dicom_CS("AXIAL", nullptr)));
    EXPECT_FALSE(types.MatchAndRetrieve(Dicom_CS("LOCALIZER", nullptr)));

    const Dicom_DA date("20240315", nullptr);
    EXPECT_TRUE(date.MatchAndRetrieve(Dicom_DA("20240101-20241231", nullptr)));
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
    EXPECT_EQ(usBig.Get(0), 0x0102);
    EXPECT_EQ(usBig.Get(1), 0x0304);
    EXPECT_EQ(be[0], 0x01);  // the caller's bytes are not swapped in place
    Dicom_US usLittle(be, 4, 0, DICOM_LITTLE_ENDIAN, &status);
    EXPECT_EQ(usLittle.Get(0), 0x0201);
    EXPECT_EQ(usLittle.GetData(), be);  // copy == 0 points at the caller's bytes

    Dicom_UL ulBig(be, 4, 1, DICOM_BIG_ENDIAN, &status);
    EXPECT_EQ(static_cast<unsigned int>(ulBig), 0x01020304u);
    Dicom_SL slBig(be, 4, 1, DICOM_BIG_ENDIAN, &status);
    EXPECT_EQ(static_cast<int>(slBig), 0x01020304);

    const double value = -1234.5625;
    unsigned char le8[8], be8[8];
    std::memcpy(le8, &value, 8);
    for (int i = 0; i < 8; ++i) be8[i] = le8[7 - i];
    EXPECT_DOUBLE_EQ(static_cast<double>(Dicom_FD(be8, 8, 1, DICOM_BIG_ENDIAN, &status)), value);
    EXPECT_DOUBLE_EQ(static_cast<double>(Dicom_FD(le8, 8, 1, DICOM_LITTLE_ENDIAN, &status)), value);
    const float f = 3.75f;
    unsigned char f4[4], fb[4];
    std::memcpy(f4, &f, 4);
    for (int i = 0; i < 4; ++i) fb[i] = f4[3 - i];
    EXPECT_FLOAT_EQ(static_cast<float>(Dicom_FL(fb, 4, 1, DICOM_BIG_ENDIAN, &status)), f);

    // AT swaps group and element each as 16-bit numbers
    unsigned char atBig[] = {0x00, 0x28, 0x00, 0x10};
    Dicom_AT at(atBig, 4, 1, DICOM_BIG_ENDIAN, &status);
    unsigned short g = 0, e = 0;
    EXPECT_EQ(at.GetGroupNumber(&g), 0);
    EXPECT_EQ(at.GetElementNumber(&e), 0);
    EXPECT_EQ(g, 0x0028);
    EXPECT_EQ(e, 0x0010);
    EXPECT_EQ(at.GetTag(0), Dicom_Tag(0x0028, 0x0010));
    EXPECT_EQ(At_NULL.GetGroupNumber(&g), -1);
    EXPECT_EQ(at[1].GetTag(0), Dicom_Tag::ILLEGAL_TAG);

    // a length that is not a multiple of the width is reported and kept
    unsigned char three[] = {1, 2, 3};
    Dicom_US odd(three, 3, 1, DICOM_LITTLE_ENDIAN, &status);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(odd.GetRawLen(), 3u);

    // IS is text: its "binary" constructor takes the text bytes in any order
    char isText[] = "42\\43";
    Dicom_IS is(isText, 5, 1, DICOM_BIG_ENDIAN, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(static_cast<int>(is[1]), 43);
}

TEST(ByteStrings, LengthsTrustedFormChecksumAndFragments) {
    unsigned char odd[] = {1, 2, 3};
    Dicom_OB ob(odd, 3, 1, nullptr);
    EXPECT_EQ(ob.GetRawLen(), 3u);
    EXPECT_EQ(ob.GetDumpLen().GetDumpLen(), 4u);  // padded to even length
    unsigned char dumped[4] = {9, 9, 9, 9};
    EXPECT_EQ(ob.Dump(dumped, 4), 4);
    EXPECT_EQ(dumped[3], 0);
    EXPECT_EQ(ob.Dump(dumped, 3), -1);

    unsigned char words[] = {0x34, 0x12, 0x78, 0x56};
    Dicom_OW ow(words, 4, 1, nullptr);
    unsigned char swapped[4];
    EXPECT_EQ(ow.Dump(swapped, 4, DICOM_BIG_ENDIAN), 4);
    EXPECT_EQ(swapped[0], 0x12);
    EXPECT_EQ(swapped[3], 0x78);

    const char check[] = "123456789";
    Dicom_UN un(const_cast<char*>(check), 9, 0, nullptr);
    EXPECT_EQ(un.CheckSum(), 0xCBF43926u);  // the published CRC-32 check value of "123456789"
    EXPECT_EQ(Dicom_UN().CheckSum(), 0u);

    std::vector<unsigned char> trusted(ow.GetTrustedDumpLen());
    EXPECT_EQ(ow.DumpToTrustedBuffer(trusted.data(), static_cast<unsigned>(trusted.size())),
              static_cast<int>(trusted.size()));
    Dicom_OW back;
    size_t used = 0;
    EXPECT_EQ(back.LoadFromTrustedBuffer(trusted.data(), trusted.size(), &used), 0);
    EXPECT_EQ(used, trusted.size());
    EXPECT_EQ(back, ow);
    EXPECT_EQ(back.LoadFromTrustedBuffer(trusted.data(), trusted.size() - 1, &used), -1);  // truncated

    // encapsulated pixel data: an empty offset table and two fragments
    const unsigned char items[] = {0xFE, 0xFF, 0x00, 0xE0, 0, 0, 0, 0,  // offset table
                                   0xFE, 0xFF, 0x00, 0xE0, 4, 0, 0, 0, 0xAA, 0xBB, 0xCC, 0xDD,  // fragment 1
                                   0xFE, 0xFF, 0x00, 0xE0, 2, 0, 0, 0, 0x11, 0x22};             // fragment 2
    Dicom_OB pixels(const_cast<unsigned char*>(items), sizeof items, 1, nullptr);
    EXPECT_FALSE(pixels.GetEncapsulatedData().valid);  // not flagged encapsulated
    pixels.SetEncapsulated(true);
    const Dicom_EncapsulatedData enc = pixels.GetEncapsulatedData();
    ASSERT_TRUE(enc.valid);
    EXPECT_EQ(enc.offsetTable.length, 0u);
    ASSERT_EQ(enc.fragments.size(), 2u);
    EXPECT_EQ(enc.fragments[0].offset, 16u);
    EXPECT_EQ(enc.fragments[0].length, 4u);
    EXPECT_EQ(enc.fragments[1].offset, 28u);
    EXPECT_EQ(enc.fragments[1].length, 2u);
    EXPECT_EQ(pixels.GetDumpLen().GetDumpLen(), sizeof items + 8);  // plus the sequence delimiter
    Dicom_OB copied;
    EXPECT_EQ(copied.Copy(pixels), 0);
    EXPECT_TRUE(copied.IsEncapsulated());
    EXPECT_EQ(copied.Copy(Dicom_OB()), 0);
    EXPECT_TRUE(copied.IsEmpty());

    // a fragment that claims more bytes than there are
    unsigned char damaged[] = {0xFE, 0xFF, 0x00, 0xE0, 0, 0, 0, 0, 0xFE,
                               0xFF, 0x00, 0xE0, 0xFF, 0, 0, 0, 1, 2};
    Dicom_OB bad(damaged, sizeof damaged, 1, nullptr);
    bad.SetEncapsulated(true);
    EXPECT_FALSE(bad.GetEncapsulatedData().valid);
}

TEST(Sequences, ItemsCopiesAndEncodedLength) {
    Dicom_SQ sq;
    EXPECT_TRUE(sq.IsEmpty());
    auto* item = new Dicom_Msg();
    Dicom_US rows(512);
    ASSERT_EQ(item->Set(Dicom_Tag(0x0028, 0x0010), &rows), 0);
    sq.AddItem(item);
    EXPECT_FALSE(sq.IsEmpty());
    EXPECT_EQ(sq.GetVM(), 1);
    EXPECT_NE(sq, SQ_NULL);

    Dicom_SQ copy(sq);
    ASSERT_EQ(copy.GetNItems(), 1);
    EXPECT_NE(copy.GetItem(0), item);  // a deep copy
    EXPECT_EQ(copy, sq);

    // explicit VR little endian: the US element takes 8 + 2 bytes; the new item and the new
    // sequence have undefined length: item header, item delimiter, sequence delimiter
    const Dicom_TransferSyntax explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    const Dicom_DumpLen len = sq.GetDumpLen(Dicom_UI(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID));
    ASSERT_TRUE(len.IsValid());
    EXPECT_EQ(len.GetDumpLen(), 8u + 10u + 8u + 8u);
    sq.SetUndefinedLength(false);
    sq.SetItemUndefinedLength(0, false);
    EXPECT_EQ(sq.GetValueLength(explicitLE), 8u + 10u);

    // the items of a Dicom_Sequence are taken over
    Dicom_Sequence items;
    items.Append(new Dicom_Msg());
    items.Append(new Dicom_Msg());
    Dicom_SQ taken(std::move(items));
    EXPECT_EQ(taken.GetNItems(), 2);
    EXPECT_EQ(items.GetNItems(), 0);
    EXPECT_NE(taken, copy);
}

TEST(ValueServices, InitialsOfPersonNames) {
    EXPECT_EQ(Dicom_PN("DOE^JOHN", nullptr).GetInitials().ToString(), "D^J");
    EXPECT_EQ(Dicom_PN("DOE^JOHN^^DR", nullptr).GetInitials().ToString(), "D^J^^D");
    EXPECT_EQ(Dicom_PN("DOE^JOHN^^", nullptr).GetInitials().ToString(), "D^J");
    EXPECT_EQ(Dicom_PN(" DOE ^ JOHN", nullptr).GetInitials().ToString(), "D^J");
    EXPECT_EQ(Dicom_PN("Yamada^Tarou=X^Y", nullptr).GetInitials().ToString(), "Y^T");
    EXPECT_EQ(Dicom_PN("A^B\\C^D", nullptr).GetInitials().ToString(), "A^B\\C^D");
    EXPECT_TRUE(PN_NULL.GetInitials().IsEmpty());
}

TEST(ValueServices, EncodedIdentifiersAreStableKeyedAndValidLO) {
    // The key is read once, on first use: set it before anything encodes.
    setenv("IOD_DEID_KEY", "site-key-for-tests", 1);
    const Dicom_LO id("PAT-12345", nullptr);
    const Dicom_LO encoded = id.GetEncoded();
    // HMAC-SHA-256 of the ID under this key, as `openssl dgst -sha256 -hmac` computes it
    EXPECT_EQ(encoded.ToString(), "3DCC7DEBBF7F550B76DA5D41F29D66D228EEC2EC53271BD53AC1CE527758F616");
    EXPECT_EQ(Dicom_LO(" PAT-12345 ", nullptr).GetEncoded(), encoded);  // padding does not count
    EXPECT_EQ(Dicom_LO("PAT-12346", nullptr).GetEncoded().ToString(),
              "65F728925FC76AF9BAD631DDA2E08605587F33D6E21914E8994A2A3AE41E97A1");
    EXPECT_TRUE(encoded.IsValid());
    EXPECT_LE(encoded.GetRawLen(), 64u);
    EXPECT_TRUE(LO_NULL.GetEncoded().IsEmpty());
}

TEST(ValueServices, GeneratedUIDsAreValidAndUniqueAcrossThreads) {
    static Dicom_UIDGenerator generator;
    const std::regex form("2\\.25\\.(0|[1-9][0-9]*)");
    constexpr int kThreads = 4, kEach = 500;
    std::vector<std::vector<std::string>> made(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&made, t] {
            for (int i = 0; i < kEach; ++i)
                made[static_cast<size_t>(t)].push_back(generator.GenerateString());
        });
    }
    for (auto& th : threads) th.join();
    std::set<std::string> all;
    for (const auto& v : made) {
        for (const std::string& uid : v) {
            EXPECT_TRUE(std::regex_match(uid, form)) << uid;
            EXPECT_LE(uid.size(), 64u);
            all.insert(uid);
        }
    }
    EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kEach));
    const Dicom_UI ui = generator.Generate();
    EXPECT_TRUE(ui.IsValid());
    EXPECT_EQ(all.count(ui.ToString()), 0u);
}

TEST(ValueServices, CurrentDateAndTimeHaveTheirFormats) {
    const Dicom_DA today = Dicom_DA::GetCurrentDate();
    EXPECT_TRUE(today.IsValid()) << today.ToString();
    EXPECT_EQ(today.GetRawLen(), 8u);
    const time_t now = time(nullptr);
    struct tm t {};
    localtime_r(&now, &t);
    EXPECT_EQ(today.ToString().substr(0, 4), std::to_string(t.tm_year + 1900));

    const Dicom_TM a = Dicom_TM::GetTickCount();
    EXPECT_TRUE(a.IsValid()) << a.ToString();
    EXPECT_TRUE(std::regex_match(a.ToString(), std::regex("[0-2][0-9][0-5][0-9][0-6][0-9]\\.[0-9]{6}")));
}

TEST(ValueBytes, ArenaValuesAttachRawAndSetRawChecksWidth) {
    Dicom_Arena* arena = Dicom_Arena::Create();
    unsigned char rows[] = {0x00, 0x02};  // 512, little endian
    Dicom_Type* v = Dicom_CreateValue(Dicom_VR::US, arena);
    EXPECT_TRUE(Dicom_ArenaObject::InArena(v));
    v->AttachRaw(rows, 2);
    EXPECT_EQ(v->GetData(), rows);
    EXPECT_EQ(static_cast<unsigned short>(*static_cast<Dicom_US*>(v)), 512);
    Dicom_Type* heapCopy = v->Clone();
    EXPECT_FALSE(Dicom_ArenaObject::InArena(heapCopy));
    EXPECT_NE(heapCopy->GetData(), rows);  // copies own their bytes
    rows[1] = 0x01;
    EXPECT_EQ(heapCopy->ToString(), "512");
    EXPECT_EQ(v->ToString(), "256");  // the attached value sees the buffer

    EXPECT_EQ(v->SetRaw("\x01\x02\x03", 3), -1);  // not a whole number of 16-bit values
    EXPECT_EQ(v->SetRaw("\x01\x00\x02\x00", 4), 0);
    EXPECT_EQ(v->GetVM(), 2);
    EXPECT_EQ(v->ToString(), "1\\2");
    delete heapCopy;
    delete v;  // runs the destructor; the memory goes with the arena

    // a long text moves from attached to owned bytes without losing them
    Dicom_Type* text = Dicom_CreateValue(Dicom_VR::LT, arena);
    const std::string body(300, 'x');
    EXPECT_EQ(text->SetRaw(body.data(), static_cast<uint32_t>(body.size())), 0);
    EXPECT_EQ(text->ToString(), body);
    EXPECT_EQ(text->GetValueLength(Dicom_TransferSyntax()), 300u);
    EXPECT_EQ(text->SetRaw(body.data(), 299), 0);
    EXPECT_EQ(text->GetValueLength(Dicom_TransferSyntax()), 300u);  // odd values are padded
    delete text;
    arena->Release();
}
