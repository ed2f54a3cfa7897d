// IOD_Complex: after any sequence of operations the original encodes byte for byte as before,
// and the composite encodes as its ConstructRealMsg() and as a real message that underwent the
// same operations.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Complex.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "IodTestSupport.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes EncodedOf(const Dicom_Msg& m, bool file = false) {
    Bytes out;
    EXPECT_EQ(m.Encode(out, Dicom_TransferSyntax(), file), 0);
    return out;
}

std::string Text(const Dicom_Msg& m, const Dicom_Tag& tag) {
    const Dicom_Type* v = m.Get(tag);
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen()) : "<absent>";
}

// A file image parsed without copying: Latin-1 text, a sequence, two creators in (0029), a CT
// private attribute in (0019), an overlay and pixel data.
struct Original {
    Bytes file;
    Kvl_AutoPtr<IOD_Msg> msg;
    Bytes encoded;
};

Original MakeOriginal() {
    IOD_Msg m;
    Dicom_CS latin1("ISO_IR 100");
    Dicom_LO other("OTHER CO");
    Dicom_SH theirs("theirs");
    m.Set(Dicom_Tag(0x0008, 0x0005), &latin1);
    m.SetPatientsName(Dicom_PN(L"Müller^Hans"));
    m.SetPatientID(Dicom_LO("P-7"));
    m.SetAccessionNumber(Dicom_SH("A-1"));
    m.SetRows_i(0, Dicom_US(4));
    Dicom_Sequence items;
    items.Append(new Dicom_Msg());
    items.Get(0)->Set(Dicom_Tag(0x0008, 0x1155), &theirs);
    m.SetReferencedImageSequence(Dicom_SQ(items));
    m.Set(Dicom_Tag(0x0029, 0x0010), &other);
    m.Set(Dicom_Tag(0x0029, 0x1017), &theirs);
    m.SetImageLabel(Dicom_SH("label"));  // QUORVEX1: block 11
    m.SetAcquisitionLength(Dicom_DS("12.5"));
    // Presentation objects that the scaling operations change inside sequence items.
    Dicom_Sequence objects, annotations, area;
    objects.Append(new Dicom_Msg());
    Dicom_FL corner(std::vector<float>{10.f, 20.f});
    objects.Get(0)->Set(Dicom_Tag(0x0070, 0x0010), &corner);
    annotations.Append(new Dicom_Msg());
    Dicom_SQ textObjects(objects);
    annotations.Get(0)->Set(Dicom_Tag(0x0070, 0x0008), &textObjects);
    Dicom_SQ annotationSq(annotations);
    m.Set(Dicom_Tag(0x0070, 0x0001), &annotationSq);
    area.Append(new Dicom_Msg());
    Dicom_SL topLeft(std::vector<int>{1, 2}), bottomRight(std::vector<int>{100, 200});
    area.Get(0)->Set(Dicom_Tag(0x0070, 0x0052), &topLeft);
    area.Get(0)->Set(Dicom_Tag(0x0070, 0x0053), &bottomRight);
    Dicom_SQ areaSq(area);
    m.Set(Dicom_Tag(0x0070, 0x005A), &areaSq);
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

}  // namespace

TEST(IODComplex, SequencesOfChangesLeaveTheOriginalAndMatchARealMessage) {
    // clang-format off
    const std::pair<const char*, std::function<void(IOD_Msg&)>> scenarios[] = {
        {"no change", [](IOD_Msg&) {}},
        {"public sets", [](IOD_Msg& m) { m.SetAccessionNumber(Dicom_SH("A-2")), m.SetRows(Dicom_US(8)), m.SetRows_i(1, Dicom_US(16)); }},
        {"removals", [](IOD_Msg& m) { m.RemovePatientID(), m.RemovePatientsName(), m.RemovePixelData(); }},
        {"remove then set", [](IOD_Msg& m) { m.RemoveAccessionNumber(), m.SetAccessionNumber(Dicom_SH("A-3")); }},
        // a block reused (QUORVEX1), a new creator beside two others (KOVEL: block 12), in place
        {"private sets", [](IOD_Msg& m) { m.SetImageLabel(Dicom_SH("new")), m.SetMsgLength(Dicom_UL(77)), m.SetAcquisitionLengthInPlace(Dicom_DS("99")); }},
        {"private removals", [](IOD_Msg& m) { m.RemoveImageLabel(), m.RemoveAcquisitionLength(); }},
        {"text beyond the character set", [](IOD_Msg& m) { m.SetStudyDescription(Dicom_LO(L"山田")); }},
        {"presentation objects scaled inside sequence items", [](IOD_Msg& m) { m.MoveGraphicAnnotationSeqBy(2, 3), m.MoveDisplayAreaSeqBy(2, 3); }},
        {"AddOrReplace over the original", [](IOD_Msg& m) { Dicom_SH v("A-4"); m.AddOrReplace(new Dicom_ME(Dicom_Tag(0x0008, 0x0050), &v, 1)); }},
    };
    // clang-format on
    const Dicom_TransferSyntax explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    const Dicom_Tag pixelData(0x7FE0, 0x0010);
    for (const auto& [name, run] : scenarios) {
        SCOPED_TRACE(name);
        Original o = MakeOriginal();
        IOD_Msg real(*o.msg);
        run(real);
        IOD_Complex c(o.msg);
        run(c);
        const Bytes view = EncodedOf(c);
        EXPECT_EQ(view, EncodedOf(real));
        EXPECT_EQ(EncodedOf(c, true), EncodedOf(real, true));  // the meta group from the view
        Kvl_AutoPtr<Dicom_Msg> constructed = c.ConstructRealMsg();
        EXPECT_EQ(EncodedOf(*constructed), view);
        Kvl_AutoPtr<Dicom_Msg> clone(c.Clone());
        EXPECT_TRUE(dynamic_cast<IOD_Msg*>(clone.get()) && EncodedOf(*clone) == view);
        EXPECT_EQ(c.GetNElements(), real.GetNElements());
        Bytes dumped(c.get_dump_len(explicitLE).GetDumpLen());
        EXPECT_EQ(c.dump(dumped.data(), static_cast<unsigned>(dumped.size()), explicitLE), 0);
        EXPECT_EQ(dumped, view);
        // A selective clone unlinks elements from the view for a while; Find answers the same after.
        Kvl_AutoPtr<Dicom_Msg> header(c.CloneWithoutData());
        EXPECT_EQ(header->Find(pixelData), nullptr);
        EXPECT_EQ(c.Find(pixelData) != nullptr, real.Find(pixelData) != nullptr);
        EXPECT_EQ(EncodedOf(*o.msg), o.encoded);
    }
}

TEST(IODComplex, FindRemoveReplaceSetAndTheirLogLines) {
    Original o = MakeOriginal();
    IOD_Complex c(o.msg);
    const Dicom_Tag id(0x0010, 0x0020), absent(0x0008, 0x103E), accession(0x0008, 0x0050);
    const int n = c.GetNElements();
    EXPECT_EQ(c.Remove(id), 0);
    EXPECT_EQ(c.Remove(absent), 0);
    EXPECT_EQ(c.Find(id), nullptr);
    EXPECT_EQ(c.GetNElements(), n - 1);
    EXPECT_NE(o.msg->Find(id), nullptr);
    // Removed by its dictionary name, a private attribute is hidden under its number too.
    EXPECT_EQ(c.Remove(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL), 0);
    EXPECT_EQ(c.Find(Dicom_Tag(0x0029, 0x1117)), nullptr);
    Dicom_SH acc("A-5");
    Dicom_ME* replacement = new Dicom_ME(accession, &acc, 1);
    EXPECT_EQ(c.Replace(replacement), 0);
    EXPECT_EQ(c.Find(accession), replacement);
    EXPECT_EQ(Text(*o.msg, accession), "A-1 ");
    EXPECT_EQ(c.Remove(accession), 0);  // undoes the change: the original's value shows again
    EXPECT_EQ(Text(c, accession), "A-1 ");
    EXPECT_EQ(c.SetPatientID(Dicom_LO("P-10")), 0);  // a removed tag set again
    EXPECT_EQ(Text(c, id), "P-10");
    EXPECT_EQ(c.GetOrigPtr(), o.msg.get());

    LogRecorder log(6);
    Dicom_ME stray(absent, &acc, 1);
    EXPECT_EQ(c.Replace(&stray), -1);
    Dicom_US v(1);
    EXPECT_EQ(c.SetRows_i(128, v), -1);  // index out of range: the illegal tag
    EXPECT_EQ(c.SetWithDataCopy(Dicom_Tag(0x0028, 0x0011), nullptr), -1);
    const std::pair<int, std::string> expected[] = {
        {3, "Replace(): Element with tag (0008, 103e) doesn't exist."},
        {4, "Set(): Illegal Tag (ffff,ffff)"},
        {3, "Set(): Can't create a new element"},
    };
    ASSERT_EQ(log.records.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(log.records[i].file, "src/IOD/IOD_Complex");
        EXPECT_EQ(log.records[i].category, 19);
        EXPECT_EQ(std::make_pair(log.records[i].level, log.records[i].text), expected[i]);
    }
    EXPECT_EQ(log.records[1].function, "IOD_Complex::internal_set");
    // A removal of a tag that neither holds is recorded too: it hides what the original gains later.
    Dicom_LO later("later");
    o.msg->Set(absent, &later);
    EXPECT_EQ(c.ConstructRealMsg()->Find(absent), nullptr);
}

TEST(IODComplex, AddFollowsTheTagPolicyWithItsLogLines) {
    const std::string exists = "Add: Element with tag (0008,0050) already exists";
    const struct {
        unsigned policy;
        int result;
        const char* value;
        std::vector<std::pair<int, std::string>> lines;
    } cases[] = {
        {DICOM_POLICY_FIRST, 0, "A-1 ", {{6, exists + ", keeping the first."}}},
        {DICOM_POLICY_LAST,
         -1,
         "A-6",
         {{6, exists + " in orig, adding the current."}, {3, exists + ", rejected."}}},
        {DICOM_POLICY_REJECT, -1, "A-1 ", {{3, exists + ", rejected."}}},
    };
    Original o = MakeOriginal();
    for (const auto& k : cases) {
        Dicom_Msg::SetTagPolicy(Dicom_Tag(0x0008, 0x0050), k.policy);
        IOD_Complex c(o.msg);
        Dicom_SH v("A-6");
        Dicom_ME element(Dicom_Tag(0x0008, 0x0050), &v, 1);
        LogRecorder log(6);
        EXPECT_EQ(c.Add(&element, 1), k.result);
        EXPECT_EQ(Text(c, Dicom_Tag(0x0008, 0x0050)), k.value);
        std::vector<std::pair<int, std::string>> lines;
        for (const Kvl_LogRecord& r : log.records) {
            EXPECT_EQ(r.function, "IOD_Complex::Add");
            lines.emplace_back(r.level, r.text);
        }
        EXPECT_EQ(lines, k.lines);
        EXPECT_EQ(c.Add(new Dicom_ME(Dicom_Tag(0x0008, 0x1030), &v, 1)), 0);  // absent in the original
    }
    Dicom_Msg::ClearTagPolicies();
    EXPECT_EQ(EncodedOf(*o.msg), o.encoded);
}

// KOVEL takes no block whose creator the layer removed (its element would read as KOVEL's); a
// multi-format value goes into every item of the layer's own copy of the sequence.
TEST(IODComplex, PrivateCreatorsAndMultiFormatItemsStayOutOfTheOriginal) {
    Original o = MakeOriginal();
    IOD_Complex c(o.msg);
    EXPECT_EQ(c.Remove(Dicom_Tag(0x0029, 0x0010)), 0);
    EXPECT_EQ(c.SetMsgLength(Dicom_UL(5)), 0);
    unsigned short block = 0;
    EXPECT_EQ(c.FindImplementorPrefix(0x0029, Dicom_LO("KOVEL"), &block), 0);
    EXPECT_EQ(block, 0x12);
    EXPECT_EQ(c.GetMsgLength(), Dicom_UL(5));

    IOD_Msg m;
    Dicom_Sequence formats;
    Dicom_US four(4);
    for (int i = 0; i < 2; ++i)
        formats.Append(new Dicom_Msg()), formats.Get(i)->Set(Dicom_Tag(0x0028, 0x0010), &four);
    m.SetMultiFormatSequence(Dicom_SQ(formats));
    const Bytes before = EncodedOf(m);
    IOD_Complex mf{Kvl_AutoPtr<IOD_Msg>(&m, Kvl_AutoPtr<IOD_Msg>::DoesNotOwn)};
    EXPECT_EQ(mf.SetRows(Dicom_US(8)), 0);
    const Dicom_SQ sq = mf.GetMultiFormatSequence();
    ASSERT_EQ(sq.GetNItems(), 2);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Text(*sq.GetItem(i), Dicom_Tag(0x0028, 0x0010)), std::string("\x08\x00", 2));
    EXPECT_EQ(EncodedOf(m), before);
}

TEST(IODComplex, SharesTheOriginalAndStandsInForAnEmptyOne) {
    Original o = MakeOriginal();
    Kvl_AutoPtr<Dicom_Msg> shared(new Dicom_Msg(*o.msg));
    IOD_Complex* c = new IOD_Complex(shared);
    shared.reset();  // the composite keeps it alive
    EXPECT_EQ(EncodedOf(*c), o.encoded);
    LogRecorder log(7);
    delete static_cast<IOD_Msg*>(c);  // the whole chain, with the IOD_Msg destructor's trace
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].text.rfind("destructor 0x", 0), 0u);
    IOD_Complex empty{Kvl_AutoPtr<Dicom_Msg>()};
    EXPECT_EQ(empty.GetOrigPtr(), nullptr);
    EXPECT_EQ(empty.Remove(Dicom_Tag(0x0010, 0x0010)), 0);
    EXPECT_EQ(empty.SetRows(Dicom_US(2)), 0);
    EXPECT_EQ(empty.GetNElements(), 1);
}

TEST(IODComplexDeathTest, UnsupportedOperationsFailTheirAssertion) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // clang-format off
    const std::pair<std::string, std::function<void(IOD_Complex&)>> operations[] = {
        {"CopyAttributes", [](IOD_Complex& c) { IOD_Msg t; c.CopyAttributes(t, RWSortedVector()); }},
        {"IsLogicallyEmptyMsg", [](IOD_Complex& c) { c.IsLogicallyEmptyMsg(); }},
        {"IsEmptyMsg", [](IOD_Complex& c) { c.IsEmptyMsg(); }},
        {"GetNewElementsIterator", [](IOD_Complex& c) { delete c.GetNewElementsIterator(); }},
        {"GetElement", [](IOD_Complex& c) { c.GetElement(0); }},
    };
    // clang-format on
    for (const auto& [name, operation] : operations) {
        // The record (echoed by a sink) comes first, then the report line.
        const std::string condition = "<FALSE && \"" + name + ": not supported\">";
        EXPECT_DEATH(
            {
                KvlGLog.SetDefaultSink(false);
                KvlGLog.AddSink([](const Kvl_LogRecord& r) {
                    std::fprintf(stderr, "L%d C%d %s %s: %s\n", r.level, r.category, r.file.c_str(),
                                 r.function.c_str(), r.text.c_str());
                });
                IOD_Complex c{Kvl_AutoPtr<Dicom_Msg>(new Dicom_Msg())};
                operation(c);
            },
            "^L2 C19 inc/IOD/IOD_Complex IOD_Complex::" + name + ": Assertion Failed: " + condition +
                ", Aborting\\.\nAssertion Failed: " + condition +
                " , file <inc/IOD/IOD_Complex>, line <[0-9]+>\\.\n$");
    }
}
