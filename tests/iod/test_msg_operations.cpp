// Message operations: selective clones and filtering, CalcMsgLength, SOP common module, identity
// masking and frame-vector reduction.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_Msg.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "IodTestSupport.h"

namespace {

using Lines = std::vector<std::string>;
constexpr Dicom_Tag kPixelData{0x7FE00010u}, kAccession{0x00080050u}, kRows{0x00280010u};
const Dicom_Tag kCompressed = Dicom_Dictionary::KOVEL_COMPRESSED_PIXEL_DATA;
const Dicom_Tag kEncrypted = Dicom_Dictionary::KOVEL_ENCRYPTED_PIXEL_DATA;
const Dicom_Tag kMsgLength = Dicom_Dictionary::KOVEL_MSG_LENGTH;

Dicom_OB Bytes(unsigned int n, unsigned char fill = 0x5A) {
    std::vector<unsigned char> data(n, fill);
    return Dicom_OB(data.data(), n, 1, nullptr);
}
Dicom_OW Words(unsigned int n) {
    std::vector<unsigned char> data(n, 0x5A);
    return Dicom_OW(data.data(), n, 1, nullptr);
}

// A header with a private attribute (and its creator), the three pixel elements and a few more.
void FillImage(IOD_Msg& msg) {
    msg.SetPatientsName(Dicom_PN("DOE^JOHN"));
    msg.SetPatientID(Dicom_LO("PID-42"));
    msg.SetRows(Dicom_US(16));
    msg.SetAccessionNumber(Dicom_SH("ACC-1"));
    msg.SetMsgLength(Dicom_UL(99));
    msg.SetPixelData(Words(512));
    msg.SetCompressedPixelData(Bytes(64));
    Dicom_OB encrypted = Bytes(32, 0x11);
    msg.Set(kEncrypted, &encrypted);
}

std::vector<const Dicom_ME*> Elements(const Dicom_Msg& msg) {
    std::vector<const Dicom_ME*> out;
    for (int i = 0; i < msg.GetNElements(); ++i) out.push_back(msg.GetElement(i));
    return out;
}

bool Has(const Dicom_Msg& msg, const Dicom_Tag& tag) { return msg.Find(tag, false) != nullptr; }

// The texts (or the file and function) of the library's records (category 19) at `level`.
Lines Texts(const LogRecorder& log, int level, bool where = false) {
    Lines texts;
    for (const Kvl_LogRecord& r : log.records)
        if (r.level == level && r.category == 19) texts.push_back(where ? r.file + " " + r.function : r.text);
    return texts;
}
bool Traced(const LogRecorder& log, const std::string& text) {
    const Lines traces = Texts(log, 7);
    return std::find(traces.begin(), traces.end(), text) != traces.end();
}

// Its virtual Clone() puts an element under `intruder` into the source while the clone is made,
// so that putting an unlinked element with that tag back fails.
class IntrudingClone : public IOD_Msg {
public:
    using IOD_Msg::Clone;
    Dicom_Msg* Clone() override {
        Dicom_Msg* copy = IOD_Msg::Clone();
        Dicom_OB value = Bytes(4, 0xEE);
        IOD_Msg::Set(intruder, &value);
        return copy;
    }
    Dicom_Tag intruder = Dicom_Tag::ILLEGAL_TAG;
};

// Refuses every Set of one tag.
class RefusingSet : public IOD_Msg {
public:
    int Set(const Dicom_Tag& tag, Dicom_Type* value) override {
        return tag == refused ? -1 : IOD_Msg::Set(tag, value);
    }
    Dicom_Tag refused = Dicom_Tag::ILLEGAL_TAG;
};

}  // namespace

TEST(IODMsgClone, SelectiveClonesLeaveTheSourceWithTheSameElementObjects) {
    IOD_Msg source;
    FillImage(source);
    const std::vector<const Dicom_ME*> before = Elements(source);
    RWTValOrderedVector<Dicom_Tag> tags{kAccession, Dicom_Tag(0x00400000u)}, none;  // one absent
    Dicom_Tag name(0x00100010u), msgLength = kMsgLength;
    RWTPtrSlist<Dicom_Tag> keep, nothing;
    keep.append(&name);
    keep.append(&msgLength);
    using Tags = std::vector<Dicom_Tag>;
    struct Case {
        const char* what;
        std::unique_ptr<IOD_Msg> clone;
        Tags present, absent;
    };
    Case cases[] = {
        {"CloneWithoutPD", std::unique_ptr<IOD_Msg>(source.CloneWithoutPD()),
         Tags{name, kAccession, kMsgLength}, Tags{kPixelData, kCompressed, kEncrypted}},
        {"CloneWithoutTags", std::unique_ptr<IOD_Msg>(source.CloneWithoutTags(tags)),
         Tags{kPixelData, kCompressed, kEncrypted}, Tags{kAccession}},
        {"CloneWithoutTags, none", std::unique_ptr<IOD_Msg>(source.CloneWithoutTags(none)),
         Tags{kPixelData, kCompressed, kEncrypted, kAccession}, Tags{}},
        {"Clone(tags)", std::unique_ptr<IOD_Msg>(source.Clone(keep)), Tags{name, kMsgLength},
         Tags{kAccession, kRows, kPixelData, kCompressed, kEncrypted}},
        {"Clone(no tags)", std::unique_ptr<IOD_Msg>(source.Clone(nothing)), Tags{}, Tags{name, kPixelData}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_NE(c.clone, nullptr);
        for (const Dicom_Tag& t : c.present) EXPECT_TRUE(Has(*c.clone, t)) << t.ToString();
        for (const Dicom_Tag& t : c.absent) EXPECT_FALSE(Has(*c.clone, t)) << t.ToString();
        EXPECT_EQ(Elements(source), before);
    }
    // The private data element kept by Clone(tags) has its creator with it and reads back.
    EXPECT_EQ(cases[3].clone->GetMsgLength(), Dicom_UL(99));
    EXPECT_EQ(cases[3].clone->GetNElements(), 4);  // name, two creators (0029, 7FE1), msg length
    EXPECT_EQ(cases[4].clone->GetNElements(), 0);
}

// The pixel tags missing from the list are appended to it, once.
TEST(IODMsgClone, CloneWithoutPDAndTagsAppendsOnlyTheMissingPixelTags) {
    IOD_Msg source;
    FillImage(source);
    RWTValOrderedVector<Dicom_Tag> tags{kCompressed, kRows};
    for (int round = 0; round < 2; ++round) {
        std::unique_ptr<IOD_Msg> clone(source.CloneWithoutPDAndTags(tags));
        EXPECT_EQ(tags.std(), (std::vector<Dicom_Tag>{kCompressed, kRows, kPixelData, kEncrypted}));
        for (const Dicom_Tag& t : {kPixelData, kCompressed, kEncrypted, kRows}) EXPECT_FALSE(Has(*clone, t));
        EXPECT_TRUE(Has(*clone, kAccession));
    }
}

// A put-back that fails: the level-3 line, null, and the source short of what did not go back.
TEST(IODMsgClone, FailedReinsertionLogsAndReturnsNull) {
    struct Case {
        Dicom_Tag intruder;
        const char* function;
        const char* text;
        std::vector<Dicom_Tag> lost;  // absent from the source afterwards
    };
    // clang-format off
    const Case cases[] = {
        {kPixelData, "CloneWithoutPD", "CloneWithoutPD(): Can't insert PIXEL_DATA.", {kCompressed, kEncrypted}},
        {kCompressed, "CloneWithoutPD", "CloneWithoutPD(): Can't insert KOVEL_COMPRESSED_PIXEL_DATA.", {kEncrypted}},
        {kEncrypted, "CloneWithoutPD", "CloneWithoutPD(): Can't insert KOVEL_ENCRYPTED_PIXEL_DATA.", {}},
        {kAccession, "CloneWithoutTags", "CloneWithoutPD(): Can't insert PIXEL_DATA.", {}},  // whatever the tag
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        IntrudingClone source;
        FillImage(source);
        source.intruder = c.intruder;
        const int count = source.GetNElements();
        LogRecorder log(7);
        RWTValOrderedVector<Dicom_Tag> tags{kAccession};
        const bool withoutTags = std::string(c.function) == "CloneWithoutTags";
        EXPECT_EQ(withoutTags ? source.CloneWithoutTags(tags) : source.CloneWithoutPD(), nullptr);
        ASSERT_EQ(Texts(log, 3), Lines{c.text});
        EXPECT_EQ(Texts(log, 3, true), Lines{std::string("src/IOD/IOD_Msg IOD_Msg::") + c.function});
        for (const Dicom_Tag& t : c.lost) EXPECT_FALSE(Has(source, t)) << t.ToString();
        EXPECT_EQ(source.GetNElements(), count - static_cast<int>(c.lost.size()));
    }
}

TEST(IODMsgFilter, RemoveByMaskKeepsListedTagsAndCreators) {
    IOD_Msg msg;
    FillImage(msg);
    Dicom_Tag rows = kRows, msgLength = kMsgLength;
    RWTPtrSlist<Dicom_Tag> keep, nothing;
    keep.append(&rows);
    keep.append(&msgLength);
    LogRecorder log(7);
    EXPECT_EQ(&msg.RemoveByMask(keep), &msg);
    EXPECT_EQ(Texts(log, 7), Lines{"In IOD_Msg::RemoveByMask()"});
    EXPECT_EQ(msg.GetRows(), Dicom_US(16));
    EXPECT_EQ(msg.GetMsgLength(), Dicom_UL(99));
    EXPECT_EQ(msg.GetNElements(), 4);  // Rows, the msg length, the creators of 0029 and 7FE1
    msg.RemoveByMask(nothing);
    ASSERT_EQ(msg.GetNElements(), 2);
    EXPECT_TRUE(msg.GetElement(0)->GetTag().IsPrivateImplementor());
    EXPECT_TRUE(msg.GetElement(1)->GetTag().IsPrivateImplementor());
}

TEST(IODMsgFilter, ClearGroupRemovesOneFamilyByItsHighByte) {
    const unsigned tags[] = {0x00280010, 0x4FFE0001, 0x50000000, 0x50000005,
                             0x50FE0010, 0x51000000, 0x60000010};
    using Tags = std::vector<unsigned>;
    const std::pair<unsigned short, Tags> cases[] = {
        {0x5000, {0x00280010, 0x4FFE0001, 0x51000000, 0x60000010}},
        {0x5002, Tags(std::begin(tags), std::end(tags))},  // the low byte is not masked off
        {0, {0x00280010, 0x4FFE0001, 0x51000000}},         // ClearOverlaysAndCurves
    };
    for (const auto& [group, expected] : cases) {
        IOD_Msg msg;
        for (unsigned t : tags) {
            Dicom_US v(1);
            msg.Set(Dicom_Tag(t), &v);
        }
        group ? msg.ClearGroup(group) : msg.ClearOverlaysAndCurves();
        Tags left;
        for (const Dicom_ME* me : Elements(msg)) left.push_back(me->GetTag().GetTag());
        EXPECT_EQ(left, expected) << group;
    }
}

namespace {

const Dicom_UI kExplicit(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);

// An uncompressed single image with `n` pixel bytes.
void FillSingleImage(Dicom_Msg& msg, unsigned short bits, unsigned short samples, const char* photometric,
                     const Dicom_UI& sopClass, unsigned int n) {
    Dicom_US b(bits), s(samples), r(4);
    Dicom_CS p(photometric);
    Dicom_UI c(sopClass);
    Dicom_OW pixels(Words(n));
    msg.Set(Dicom_Tag(0x00280100u), &b);
    msg.Set(Dicom_Tag(0x00280002u), &s);
    msg.Set(Dicom_Tag(0x00280004u), &p);
    msg.Set(Dicom_Tag(0x00080016u), &c);
    msg.Set(kRows, &r);
    msg.Set(kPixelData, &pixels);
}

unsigned int Encoded(const Dicom_Msg& msg) {
    std::vector<unsigned char> out;
    EXPECT_EQ(msg.Encode(out, Dicom_TransferSyntax(kExplicit)), 0);
    return static_cast<unsigned int>(out.size());
}

}  // namespace

TEST(IODMsgLength, SingleImageYieldsOnlyTheAllowanceAndLogsTheImageSize) {
    const Dicom_UI& ct = Dicom_UIDic::CT_IMAGE_STORAGE;
    const Dicom_UI& sc = Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE;
    struct Case {
        unsigned short bits, samples;
        const char* photometric;
        const Dicom_UI* sopClass;
        unsigned int stored, counted;
    };
    const Case cases[] = {
        {16, 1, "MONOCHROME2", &ct, 200, 200},
        {8, 1, "MONOCHROME2", &ct, 200, 400},
        {8, 3, "RGB", &ct, 300, 300},
        {8, 1, "PALETTE COLOR", &sc, 100, 600},
        {16, 1, "PALETTE COLOR", &sc, 100, 300},
        {8, 1, "PALETTE COLOR", &ct, 100, 200},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.photometric) + " " + std::to_string(c.bits));
        IOD_Msg msg;
        FillSingleImage(msg, c.bits, c.samples, c.photometric, *c.sopClass, c.stored);
        const unsigned int header = Encoded(msg) - c.stored;
        LogRecorder log(7);
        EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(12u));
        EXPECT_TRUE(Traced(log, "compute_single_msg_len: image_size " + std::to_string(c.counted)));
        EXPECT_TRUE(Traced(log, "CalcMsgLength: msg_len=" + std::to_string(header + c.counted)));
        EXPECT_TRUE(Traced(log, "CalcMsgLength: MsgLength is 12 bytes."));
        msg.SetMsgLength(Dicom_UL(1));
        EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(0u));
    }
    for (const char* modality : {"PR", "SR", "KO"}) {  // the whole message, whatever its image type
        IOD_Msg msg;
        msg.SetModality(Dicom_CS(modality));
        msg.SetImageType(Dicom_CS("DERIVED\\PRIMARY\\MULTI_FORMAT"));
        EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(Encoded(msg) + 12)) << modality;
        msg.SetMsgLength(Dicom_UL(5));
        EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(Encoded(msg))) << modality;
    }
}

TEST(IODMsgLength, MissingAttributeGivesInvalidLengthAndTwoLines) {
    // clang-format off
    const std::tuple<Dicom_Tag, bool, const char*> cases[] = {
        {kPixelData, false, "compute_single_msg_len: pixel data tag not found. Can't calculate image size"},
        {Dicom_Tag(0x00280100u), false, "compute_single_msg_len: bits allocated tag not found. Can't calculate image size."},
        {Dicom_Tag(0x00280004u), false, "compute_single_msg_len: photometric interpretation not found. Can't calculate image size."},
        {Dicom_Tag(0x00280011u), true, "compute_single_msg_len: columns tag not found. Can't calculate image size."},
        {Dicom_Tag(0x00280004u), true, "compute_single_msg_len: photometric intepertation tag not found. Can't calculate image size."},
    };
    // clang-format on
    for (const auto& [removed, compressed, text] : cases) {
        SCOPED_TRACE(text);
        IOD_Msg msg;
        FillSingleImage(msg, 16, 1, "MONOCHROME2", Dicom_UIDic::CT_IMAGE_STORAGE, 8);
        msg.SetColumns(Dicom_US(4));
        if (compressed) msg.SetCompressedPixelData(Bytes(10));
        msg.Remove(removed);
        LogRecorder log(7);
        EXPECT_FALSE(msg.CalcMsgLength(kExplicit).IsValid());
        EXPECT_EQ(Texts(log, 6), Lines{text});
        EXPECT_EQ(Texts(log, 3), Lines{"CalcMsgLength(): Error int message length calculations."});
    }
}

// Compressed pixel data counts at 16 bits a sample; the header is the rest of the encoding, with
// the compressed value padded to even length whatever its value class.
TEST(IODMsgLength, CompressedImageCountsSixteenBitSamples) {
    Dicom_OB ob = Bytes(1001);
    Dicom_LT text("odd", nullptr);
    for (const auto& [value, padded] : {std::pair<Dicom_Type*, unsigned>{&ob, 1002}, {&text, 4}}) {
        IOD_Msg msg;
        FillSingleImage(msg, 8, 1, "MONOCHROME2", Dicom_UIDic::CT_IMAGE_STORAGE, 2);
        msg.SetRows(Dicom_US(512));
        msg.SetColumns(Dicom_US(512));
        msg.Set(kCompressed, value);
        const unsigned int header = Encoded(msg) - padded;
        LogRecorder log(7);
        EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(12u));
        EXPECT_TRUE(Traced(log,
                           "compute_single_msg_len: compressed: Rows=512; Columns=512; NumberOfFrames=1;"
                           "BitsAllocated=16; SampelsPerPixel=1"));
        EXPECT_TRUE(Traced(log, "compute_single_msg_len: compressed: image size = 524288; header size = " +
                                    std::to_string(header)));
    }
}

// A multi-format message: a nested sequence of two images, measured item by item.
TEST(IODMsgLength, MultiFormatAddsEveryItemAndTheHeader) {
    IOD_Msg msg;
    msg.SetPatientsName(Dicom_PN("DOE^JOHN"));
    msg.SetImageType(Dicom_CS("DERIVED\\PRIMARY\\MULTI_FORMAT"));
    Dicom_SQ images;
    unsigned int sum = 0, itemsLength = 8;  // the sequence delimiter
    for (unsigned int n : {100u, 64u}) {
        auto* item = new Dicom_Msg();
        FillSingleImage(*item, n == 100 ? 8 : 16, 1, "MONOCHROME2", Dicom_UIDic::MR_IMAGE_STORAGE, n);
        const unsigned int encoded = Encoded(*item);
        sum += encoded - n + (n == 100 ? 2 * n : n);
        itemsLength += 8 + encoded + 8;  // item header and delimiter
        images.AddItem(item);
    }
    msg.SetMultiFormatSequence(images);
    EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(sum + Encoded(msg) - itemsLength + 12));
    msg.SetMsgLength(Dicom_UL(0));
    EXPECT_EQ(msg.CalcMsgLength(kExplicit), Dicom_DumpLen(sum + Encoded(msg) - itemsLength));

    Dicom_SQ broken(images);  // a failing item stops the whole calculation
    broken.GetItem(1)->Remove(Dicom_Tag(0x00280100u));
    msg.SetMultiFormatSequence(broken);
    LogRecorder log(6);
    EXPECT_FALSE(msg.CalcMsgLength(kExplicit).IsValid());
    EXPECT_EQ(Texts(log, 3), Lines{"CalcMsgLength(): Error int message length calculations."});
}

// The new instance UID and the creation date are checked end to end by the iodtool deidentify tests.
TEST(IODMsgSopCommon, StampsClassDateTimeAndOptionallyANewInstance) {
    IOD_Msg msg;
    msg.SetSOPInstanceUID(Dicom_UI("1.2.3.4"));
    ASSERT_EQ(msg.SetSopCommonModule(Dicom_UIDic::CT_IMAGE_STORAGE, 0), 0);
    EXPECT_EQ(msg.GetSOPClassUID(), Dicom_UIDic::CT_IMAGE_STORAGE);
    EXPECT_EQ(msg.GetSOPInstanceUID(), Dicom_UI("1.2.3.4"));
    EXPECT_NE(msg.GetInstanceCreationTime(), TM_NULL);
    ASSERT_EQ(msg.SetSopCommonModule(Dicom_UIDic::MR_IMAGE_STORAGE, 1), 0);
    EXPECT_NE(msg.GetSOPInstanceUID(), Dicom_UI("1.2.3.4"));
    // The first failed write stops the rest with its line; what was written before it stays.
    const unsigned tags[] = {0x00080016, 0x00080018, 0x00080012, 0x00080013};
    const char* const texts[] = {"SetSopCommonModule(): Failed setting new sop.",
                                 "set_sop_common_module(): Failed setting new sop.",
                                 "set_sop_common_module: Can't set INSTANCE_CREATION_DATE in dicom_msg",
                                 "set_sop_common_module: Can't set INSTANCE_CREATION_TIME in dicom_msg"};
    for (size_t failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(texts[failing]);
        RefusingSet refusing;
        refusing.refused = Dicom_Tag(tags[failing]);
        LogRecorder log(7);
        EXPECT_EQ(refusing.SetSopCommonModule(Dicom_UIDic::CT_IMAGE_STORAGE, 1), -1);
        EXPECT_EQ(Texts(log, 3), Lines{texts[failing]});
        for (size_t i = 0; i < 4; ++i) EXPECT_EQ(Has(refusing, Dicom_Tag(tags[i])), i < failing) << i;
    }
}

// The masking itself is checked end to end by the iodtool deidentify tests.
TEST(IODMsgDeidentify, FailedWritesAreLoggedAndLeaveTheId) {
    IOD_Msg empty;
    EXPECT_EQ(empty.HideClassifideDetailes(), 0);
    EXPECT_EQ(empty.GetNElements(), 0);
    const std::pair<unsigned, const char*> failures[] = {
        {0x00100010, "HideClassifideDetailes: Can't hide patient's name."},
        {0x00100020, "can't hide patient ID"}};
    for (const auto& [tag, text] : failures) {
        RefusingSet refusing;
        refusing.SetPatientsName(Dicom_PN("DOE^JOHN"));
        refusing.SetPatientID(Dicom_LO("PID-42"));
        refusing.refused = Dicom_Tag(tag);
        LogRecorder log(7);
        EXPECT_EQ(refusing.HideClassifideDetailes(), -1);
        EXPECT_EQ(Texts(log, 3), Lines{text});
        EXPECT_EQ(refusing.GetPatientID(), Dicom_LO("PID-42"));  // untouched either way
    }
}

TEST(IODMsgFrames, ReducesEveryPointedVectorAndCarriesASingleValueOver) {
    struct Case {
        std::vector<unsigned> pointers;  // (gggg,eeee) of the vectors, in pointer order
        int frame;
        const char* frameTime;
        const char* gridOffsets;
        unsigned short slice;
    };
    const Case cases[] = {
        {{0x3004000C, 0x00540080}, 3, "33", "10", 3},  // one value per frame
        // Frame Time holds one value: it and every vector after it keep their first value.
        {{0x00181063, 0x3004000C, 0x00540080}, 3, "33", "0", 1},
        {{0x3004000C, 0x00181063, 0x00540080}, 4, "33", "15", 1},
    };
    for (const Case& c : cases) {
        IOD_Msg msg;
        msg.SetFrameTime(Dicom_DS("33"));
        Dicom_DS grid("0\\5\\10\\15");
        msg.Set(Dicom_Tag(0x3004000Cu), &grid);
        msg.SetSliceVector(Dicom_US(std::vector<unsigned short>{1, 2, 3, 4}));
        Dicom_AT pointers;
        for (unsigned p : c.pointers)
            pointers =
                pointers | Dicom_AT(static_cast<unsigned short>(p >> 16), static_cast<unsigned short>(p));
        msg.SetFrameIncrementPointer(pointers);
        msg.ReduceFrameIncrementPointerVector(c.frame);
        EXPECT_EQ(msg.GetFrameTime(), Dicom_DS(c.frameTime));
        EXPECT_EQ(*msg.Get(Dicom_Tag(0x3004000Cu)), Dicom_DS(c.gridOffsets));
        EXPECT_EQ(msg.GetSliceVector(), Dicom_US(c.slice));
        EXPECT_EQ(msg.GetFrameIncrementPointer(), At_NULL);
    }
}

TEST(IODMsgFrames, BadFrameMissingVectorAndUnsupportedVrAreLogged) {
    IOD_Msg msg;
    msg.SetFrameIncrementPointer(Dicom_AT(0x0018, 0x1065) | Dicom_AT(0x7FE0, 0x0010) |
                                 Dicom_AT(0x0018, 0x1063));
    msg.SetPixelData(Words(8));
    msg.SetFrameTime(Dicom_DS("1\\2"));
    {
        LogRecorder log(7);
        msg.ReduceFrameIncrementPointerVector(0);
        EXPECT_EQ(Texts(log, 3),
                  Lines{"ReduceFrameIncrementPointerVector() - frame number should be greater than "
                        "0 (current value is 0)."});
        EXPECT_NE(msg.GetFrameIncrementPointer(), At_NULL);
    }
    LogRecorder log(7);
    msg.ReduceFrameIncrementPointerVector(2);
    EXPECT_EQ(Texts(log, 6),
              Lines{"IOD_Msg::reduce_vectors- Failed to get tag from IodMsg group= 18, element=1065"});
    EXPECT_EQ(Texts(log, 3), Lines{"IOD_Msg::reduce_vectors() - unsupported VR : <OW>."});
    EXPECT_EQ(Texts(log, 7).front(), "In ReduceFrameIncrementPointerVector().");
    EXPECT_EQ(msg.GetFrameTime(), Dicom_DS("2"));
    EXPECT_EQ(msg.GetPixelData().GetRawLen(), 8u);
    EXPECT_EQ(msg.GetFrameIncrementPointer(), At_NULL);
}
