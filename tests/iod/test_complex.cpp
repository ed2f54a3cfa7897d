// IOD_Complex: changes over a shared message. The invariants checked after every sequence of
// operations: the original encodes byte for byte as before, the composite encodes as its
// ConstructRealMsg() and as a real message on which the same operations were made.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Complex.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "IodTestSupport.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes EncodedOf(const Dicom_Msg& m) {
    Bytes out;
    EXPECT_EQ(m.Encode(out, Dicom_TransferSyntax(), false), 0);
    return out;
}

std::string Text(const Dicom_Msg& m, const Dicom_Tag& tag) {
    const Dicom_Type* v = m.Get(tag);
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen()) : "<absent>";
}

// A file image parsed without copying: Latin-1 text, a sequence, two creators in (0029), a CT
// private attribute in (0019), an overlay row count and pixel data.
struct Original {
    Bytes file;
    Kvl_AutoPtr<IOD_Msg> msg;
    Bytes encoded;
};

Original MakeOriginal() {
    IOD_Msg m;
    Dicom_CS latin1("ISO_IR 100");
    m.Set(Dicom_Tag(0x0008, 0x0005), &latin1);
    m.SetPatientsName(Dicom_PN(L"Müller^Hans"));
    m.SetPatientID(Dicom_LO("P-7"));
    m.SetAccessionNumber(Dicom_SH("A-1"));
    m.SetRows(Dicom_US(4));
    m.SetRows_i(0, Dicom_US(4));
    Dicom_Sequence items;
    items.Append(new Dicom_Msg());
    Dicom_UI ref(L"1.2.3.4", nullptr);
    items.Get(0)->Set(Dicom_Tag(0x0008, 0x1155), &ref);
    m.SetReferencedImageSequence(Dicom_SQ(items));
    Dicom_LO other("OTHER CO");
    Dicom_SH theirs("theirs");
    m.Set(Dicom_Tag(0x0029, 0x0010), &other);
    m.Set(Dicom_Tag(0x0029, 0x1017), &theirs);
    m.SetImageLabel(Dicom_SH("label"));  // QUORVEX1: block 11
    m.SetAcquisitionLength(Dicom_DS("12.5"));
    unsigned char pixels[32] = {1, 2, 3};
    m.SetPixelData(Dicom_OW(pixels, sizeof pixels, 1, nullptr));
    Original o;
    EXPECT_EQ(m.Encode(o.file, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN), true), 0);
    int status = -1;
    o.msg.reset(new IOD_Msg(o.file.data(), static_cast<unsigned int>(o.file.size()), 0, &status));
    EXPECT_EQ(status, 0);
    o.encoded = EncodedOf(*o.msg);
    return o;
}

struct Scenario {
    const char* name;
    std::function<void(IOD_Msg&)> run;
};

}  // namespace

TEST(IODComplex, SequencesOfChangesLeaveTheOriginalAndMatchARealMessage) {
    const Scenario scenarios[] = {
        {"no change", [](IOD_Msg&) {}},
        {"public sets",
         [](IOD_Msg& m) {
             EXPECT_EQ(m.SetAccessionNumber(Dicom_SH("A-2")), 0);
             EXPECT_EQ(m.SetRows(Dicom_US(8)), 0);
             EXPECT_EQ(m.SetStudyDescription(Dicom_LO("new")), 0);
             EXPECT_EQ(m.SetRows_i(1, Dicom_US(16)), 0);
         }},
        {"removals, present and absent",
         [](IOD_Msg& m) {
             EXPECT_EQ(m.RemovePatientID(), 0);
             EXPECT_EQ(m.RemovePixelData(), 0);
             m.RemoveSeriesDescription();  // absent: 0 on a composite, -1 on a message
         }},
        {"remove then set",
         [](IOD_Msg& m) { m.RemoveAccessionNumber(), m.SetAccessionNumber(Dicom_SH("A-3")); }},
        {"set twice", [](IOD_Msg& m) { m.SetPatientID(Dicom_LO("P-8")), m.SetPatientID(Dicom_LO("P-9")); }},
        {"private: the creator's block reused, a new creator beside two others",
         [](IOD_Msg& m) {
             EXPECT_EQ(m.SetImageLabel(Dicom_SH("relabelled")), 0);
             EXPECT_EQ(m.SetMsgLength(Dicom_UL(77)), 0);  // KOVEL: block 12 in (0029)
             EXPECT_EQ(m.SetAcquisitionLengthInPlace(Dicom_DS("99")), 0);
         }},
        {"private removals",
         [](IOD_Msg& m) { EXPECT_EQ(m.RemoveImageLabel(), 0), m.RemoveAcquisitionLength(); }},
        {"text beyond the character set moves the message to UTF-8",
         [](IOD_Msg& m) { EXPECT_EQ(m.SetStudyDescription(Dicom_LO(L"山田")), 0); }},
        {"AddOrReplace over the original replaces",
         [](IOD_Msg& m) {
             Dicom_SH v("A-4");
             EXPECT_EQ(m.AddOrReplace(new Dicom_ME(Dicom_Tag(0x0008, 0x0050), &v, 1)), 0);
         }},
    };
    for (const Scenario& s : scenarios) {
        SCOPED_TRACE(s.name);
        Original o = MakeOriginal();
        IOD_Msg real(*o.msg);
        s.run(real);
        IOD_Complex c(o.msg);
        s.run(c);
        const Bytes view = EncodedOf(c);
        EXPECT_EQ(EncodedOf(*o.msg), o.encoded);
        EXPECT_EQ(view, EncodedOf(real));
        Kvl_AutoPtr<Dicom_Msg> constructed = c.ConstructRealMsg();
        ASSERT_TRUE(constructed);
        EXPECT_EQ(EncodedOf(*constructed), view);
        EXPECT_EQ(c.GetNElements(), real.GetNElements());
        EXPECT_EQ(c.GetDumpLen().GetDumpLen(), view.size());
        Kvl_AutoPtr<Dicom_Msg> clone(c.Clone());
        EXPECT_NE(dynamic_cast<IOD_Msg*>(clone.get()), nullptr);
        EXPECT_EQ(EncodedOf(*clone), view);
        Bytes file, realFile;  // file images: meta group from the composite's view
        EXPECT_EQ(c.Encode(file, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN), true),
                  0);
        EXPECT_EQ(
            real.Encode(realFile, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN), true),
            0);
        EXPECT_EQ(file, realFile);
        EXPECT_EQ(EncodedOf(*o.msg), o.encoded);
    }
}

TEST(IODComplex, FindRemoveReplaceAndTheRemovedSet) {
    Original o = MakeOriginal();
    IOD_Complex c(o.msg);
    const Dicom_Tag id(0x0010, 0x0020), absent(0x0008, 0x103E);
    const int n = c.GetNElements();
    EXPECT_EQ(c.Remove(id), 0);
    EXPECT_EQ(c.Find(id), nullptr);
    EXPECT_EQ(c.GetNElements(), n - 1);
    EXPECT_NE(o.msg->Find(id), nullptr);
    EXPECT_EQ(c.Remove(absent), 0);
    EXPECT_EQ(c.GetNElements(), n - 1);
    // A private attribute removed by its dictionary name is hidden under its number too.
    EXPECT_EQ(c.Remove(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL), 0);
    EXPECT_EQ(c.Find(Dicom_Tag(0x0029, 0x1117)), nullptr);
    // Replace: the original's element is shadowed; an unknown tag is refused with a log line.
    Dicom_SH acc("A-5");
    Dicom_ME* replacement = new Dicom_ME(Dicom_Tag(0x0008, 0x0050), &acc, 1);
    EXPECT_EQ(c.Replace(replacement), 0);
    EXPECT_EQ(c.Find(Dicom_Tag(0x0008, 0x0050)), replacement);
    EXPECT_EQ(Text(*o.msg, Dicom_Tag(0x0008, 0x0050)), "A-1 ");
    LogRecorder log(6);
    Dicom_ME stray(absent, &acc, 1);
    EXPECT_EQ(c.Replace(&stray), -1);
    // Removing a change of the layer brings the original's value back.
    EXPECT_EQ(c.Remove(Dicom_Tag(0x0008, 0x0050)), 0);
    EXPECT_EQ(Text(c, Dicom_Tag(0x0008, 0x0050)), "A-1 ");
    // A removed tag set again shows the new value.
    EXPECT_EQ(c.SetPatientID(Dicom_LO("P-10")), 0);
    EXPECT_EQ(Text(c, id), "P-10");
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].level, 3);
    EXPECT_EQ(log.records[0].file, "src/IOD/IOD_Complex");
    EXPECT_EQ(log.records[0].function, "IOD_Complex::Replace");
    EXPECT_EQ(log.records[0].text, "Replace(): Element with tag (0008, 103e) doesn't exist.");
    EXPECT_EQ(c.GetOrigPtr(), o.msg.get());
}

TEST(IODComplex, AddFollowsTheTagPolicyWithItsLogLines) {
    struct Case {
        unsigned policy;
        int result;
        bool inLayer;
        std::vector<std::pair<int, std::string>> lines;
    };
    const std::string tag = "(0008,0050)";
    const Case cases[] = {
        {DICOM_POLICY_FIRST,
         0,
         false,
         {{6, "Add: Element with tag " + tag + " already exists, keeping the first."}}},
        {DICOM_POLICY_LAST,
         -1,
         true,
         {{6, "Add: Element with tag " + tag + " already exists in orig, adding the current."},
          {3, "Add: Element with tag " + tag + " already exists, rejected."}}},
        {DICOM_POLICY_REJECT,
         -1,
         false,
         {{3, "Add: Element with tag " + tag + " already exists, rejected."}}},
    };
    Original o = MakeOriginal();
    for (const Case& k : cases) {
        Dicom_Msg::SetTagPolicy(Dicom_Tag(0x0008, 0x0050), k.policy);
        IOD_Complex c(o.msg);
        Dicom_SH v("A-6");
        Dicom_ME element(Dicom_Tag(0x0008, 0x0050), &v, 1);
        LogRecorder log(6);
        EXPECT_EQ(c.Add(&element, 1), k.result);
        EXPECT_EQ(Text(c, Dicom_Tag(0x0008, 0x0050)), k.inLayer ? "A-6" : "A-1 ");
        ASSERT_EQ(log.records.size(), k.lines.size());
        for (size_t i = 0; i < k.lines.size(); ++i) {
            EXPECT_EQ(log.records[i].level, k.lines[i].first);
            EXPECT_EQ(log.records[i].function, "IOD_Complex::Add");
            EXPECT_EQ(log.records[i].text, k.lines[i].second);
        }
        // A tag the original lacks is simply added.
        EXPECT_EQ(c.Add(new Dicom_ME(Dicom_Tag(0x0008, 0x1030), &v, 1)), 0);
        EXPECT_NE(c.Find(Dicom_Tag(0x0008, 0x1030)), nullptr);
    }
    Dicom_Msg::ClearTagPolicies();
    EXPECT_EQ(EncodedOf(*o.msg), o.encoded);
}

TEST(IODComplex, RefusedSetsAreLogged) {
    Original o = MakeOriginal();
    IOD_Complex c(o.msg);
    LogRecorder log(6);
    Dicom_US v(1);
    EXPECT_EQ(c.Set(Dicom_Tag::ILLEGAL_TAG, &v), -1);
    EXPECT_EQ(c.SetRows_i(128, v), -1);  // index out of range: the illegal tag
    EXPECT_EQ(c.SetWithDataCopy(Dicom_Tag(0x0028, 0x0011), nullptr), -1);
    ASSERT_EQ(log.records.size(), 3u);
    EXPECT_EQ(log.records[0].level, 4);
    EXPECT_EQ(log.records[0].function, "IOD_Complex::internal_set");
    EXPECT_EQ(log.records[0].text, "Set(): Illegal Tag (ffff,ffff)");
    EXPECT_EQ(log.records[2].level, 3);
    EXPECT_EQ(log.records[2].text, "Set(): Can't create a new element");
    EXPECT_EQ(c.GetNElements(), o.msg->GetNElements());
}

TEST(IODComplex, PrivateCreatorsNeverTakeABlockOfTheOriginal) {
    // The original's creator of block 10 is removed (its data element stays): KOVEL must not
    // land in block 10, where that data element would be read as its own.
    Original o = MakeOriginal();
    IOD_Complex c(o.msg);
    EXPECT_EQ(c.Remove(Dicom_Tag(0x0029, 0x0010)), 0);
    EXPECT_EQ(c.SetMsgLength(Dicom_UL(5)), 0);
    unsigned short block = 0;
    EXPECT_EQ(c.FindImplementorPrefix(0x0029, Dicom_LO("KOVEL"), &block), 0);
    EXPECT_EQ(block, 0x12);
    EXPECT_EQ(c.FindImplementorPrefix(0x0029, Dicom_LO("QUORVEX1"), &block), 0);
    EXPECT_EQ(block, 0x11);
    EXPECT_EQ(c.FindImplementorPrefix(0x0029, Dicom_LO("OTHER CO"), &block), -1);
    EXPECT_EQ(c.GetMsgLength(), Dicom_UL(5));
    EXPECT_EQ(EncodedOf(*c.ConstructRealMsg()), EncodedOf(c));
}

TEST(IODComplex, MultiFormatItemsGetTheValueInTheLayer) {
    IOD_Msg m;
    Dicom_Sequence formats;
    for (int i = 0; i < 2; ++i) {
        formats.Append(new Dicom_Msg());
        Dicom_US rows(4);
        formats.Get(i)->Set(Dicom_Tag(0x0028, 0x0010), &rows);
    }
    m.SetMultiFormatSequence(Dicom_SQ(formats));
    Bytes before = EncodedOf(m);
    IOD_Complex c{Kvl_AutoPtr<IOD_Msg>(&m, Kvl_AutoPtr<IOD_Msg>::DoesNotOwn)};
    EXPECT_EQ(c.SetRows(Dicom_US(8)), 0);
    const Dicom_SQ sq = c.GetMultiFormatSequence();
    ASSERT_EQ(sq.GetNItems(), 2);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Text(*sq.GetItem(i), Dicom_Tag(0x0028, 0x0010)), std::string("\x08\x00", 2));
    EXPECT_EQ(c.GetRows(), Dicom_US(8));
    EXPECT_EQ(EncodedOf(m), before);
    EXPECT_EQ(EncodedOf(*c.ConstructRealMsg()), EncodedOf(c));
}

TEST(IODComplex, SharesTheOriginalAndStandsInForAnEmptyOne) {
    Original o = MakeOriginal();
    Kvl_AutoPtr<Dicom_Msg> shared(new Dicom_Msg(*o.msg));
    Dicom_Msg* raw = shared.get();
    IOD_Complex* c = new IOD_Complex(shared);
    shared.reset();  // the composite keeps it alive
    EXPECT_EQ(c->GetOrigPtr(), raw);
    EXPECT_EQ(EncodedOf(*c), o.encoded);
    LogRecorder log(7);
    delete static_cast<IOD_Msg*>(c);  // the whole chain: one IOD_Msg destructor trace
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].text.rfind("destructor 0x", 0), 0u);

    IOD_Complex empty{Kvl_AutoPtr<Dicom_Msg>()};
    EXPECT_EQ(empty.GetOrigPtr(), nullptr);
    EXPECT_EQ(empty.GetNElements(), 0);
    EXPECT_EQ(empty.Remove(Dicom_Tag(0x0010, 0x0010)), 0);
    EXPECT_EQ(empty.SetRows(Dicom_US(2)), 0);
    EXPECT_EQ(empty.GetNElements(), 1);
}

TEST(IODComplexDeathTest, UnsupportedOperationsFailTheirAssertion) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::pair<const char*, std::function<void(IOD_Complex&)>> operations[] = {
        {"CopyAttributes",
         [](IOD_Complex& c) {
             IOD_Msg t;
             c.CopyAttributes(t, RWSortedVector());
         }},
        {"IsLogicallyEmptyMsg", [](IOD_Complex& c) { c.IsLogicallyEmptyMsg(); }},
        {"IsEmptyMsg", [](IOD_Complex& c) { c.IsEmptyMsg(); }},
        {"GetNewElementsIterator", [](IOD_Complex& c) { delete c.GetNewElementsIterator(); }},
        {"GetElement", [](IOD_Complex& c) { c.GetElement(0); }},
    };
    for (const auto& [name, operation] : operations) {
        const std::string condition = std::string("FALSE && \"") + name + ": not supported\"";
        // The record (level 2, category 19, the header as source) is echoed by a sink, then the
        // report line follows.
        const std::string expected = "record L2 C19 inc/IOD/IOD_Complex IOD_Complex::" + std::string(name) +
                                     ": Assertion Failed: <" + condition + ">, Aborting\\.\n" +
                                     "Assertion Failed: <" + condition +
                                     "> , file <inc/IOD/IOD_Complex>, line <[0-9]+>\\.";
        EXPECT_DEATH(
            {
                KvlGLog.SetDefaultSink(false);
                KvlGLog.AddSink([](const Kvl_LogRecord& r) {
                    std::fprintf(stderr, "record L%d C%d %s %s: %s\n", r.level, r.category, r.file.c_str(),
                                 r.function.c_str(), r.text.c_str());
                });
                IOD_Complex c{Kvl_AutoPtr<Dicom_Msg>(new Dicom_Msg())};
                operation(c);
            },
            expected);
    }
}

#ifdef IODTOOL_PATH
TEST(IODComplex, IodtoolSetWritesTheComposite) {
    Original o = MakeOriginal();
    const std::string in = testing::TempDir() + "complex_in.dcm",
                      out = testing::TempDir() + "complex_out.dcm";
    std::ofstream(in, std::ios::binary)
        .write(reinterpret_cast<const char*>(o.file.data()), static_cast<std::streamsize>(o.file.size()));
    const std::string command = std::string(IODTOOL_PATH) + " set " + in + " " + out +
                                " AccessionNumber=A-9 Rows_i:0=2 MsgLength=12 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::ifstream written(out, std::ios::binary);
    const Bytes got((std::istreambuf_iterator<char>(written)), std::istreambuf_iterator<char>());
    IOD_Msg expected(*o.msg);
    expected.SetAccessionNumber(Dicom_SH("A-9"));
    expected.SetRows_i(0, Dicom_US(2));
    expected.SetMsgLength(Dicom_UL(12));
    Bytes file;
    ASSERT_EQ(expected.Encode(file, Dicom_TransferSyntax(), true), 0);
    EXPECT_EQ(got, file);
    std::remove(in.c_str());
    std::remove(out.c_str());
}
#endif
