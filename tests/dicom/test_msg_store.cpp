// The element store of a message: emptiness and null constants, unlinking without copying,
// deep copies (copy constructor, assignment, Clone, trusted buffers), and the services that
// change a message (Update, CopyAttributes, policies).
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OB.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_TrustedBufferReader.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UL.h>
#include <Dicom/Dicom_US.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "test_codec_builder.h"

using testbytes::Bytes;

namespace {

std::string Raw(const Dicom_Type* v) {
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen())
             : std::string("<absent>");
}

std::vector<unsigned char> Encoded(const Dicom_Msg& m, Dicom_TransferSyntax ts = Dicom_TransferSyntax(
                                                           Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN)) {
    std::vector<unsigned char> out;
    EXPECT_EQ(m.Encode(out, ts), 0);
    return out;
}

// Exposes the protected parts of a message to the tests.
class OpenMsg : public Dicom_Msg {
public:
    using Dicom_Msg::Dicom_Msg;
    using Dicom_Msg::dump;
    using Dicom_Msg::get_dump_len;
    using Dicom_Msg::getElements;
    using Dicom_Msg::suppress_identification;
};

// A file with a sequence (defined-length item, undefined-length sequence), two creators, an
// odd value, big-endian-sensitive binary values and encapsulated pixel data.
std::vector<unsigned char> RichFile() {
    Bytes item;
    item.ex(0x0008, 0x0100, "SH", "CODE").ex(0x0008, 0x1150, "UI", std::string("1.2.3.4\0", 8));
    Bytes f = testbytes::FileHeader("1.2.840.10008.1.2.4.50");
    f.ex(0x0008, 0x0005, "CS", "ISO_IR 100");
    f.ex(0x0008, 0x0008, "CS", "ORIGINAL\\PRIMARY\\MULTI_FORMAT");
    f.ex(0x0008, 0x0060, "CS", "MR");
    f.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item(static_cast<uint32_t>(item.size())).raw(item.b).seqEnd();
    f.ex(0x0010, 0x0010, "PN", "M\xFCller^J\xF6rg");  // Latin-1, 13 bytes (odd)
    f.ex(0x0028, 0x0010, "US", testbytes::U16(0x1234));
    f.ex(0x0029, 0x0010, "LO", "QUORVEX1");
    f.ex(0x0029, 0x1017, "SH", "LBL ");
    f.ex(0x0029, 0x1018, "CS", "Y ");
    f.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0).item(4).raw("\xFF\xD8\xFF\xD9").seqEnd();
    return f.b;
}

}  // namespace

TEST(MsgStore, AbsenceEmptinessAndNullConstants) {
    Dicom_Msg m;
    int status = 7;
    EXPECT_EQ(m.IsEmptyMsg(&status), 1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(m.IsLogicallyEmptyMsg(&status), 1);
    EXPECT_EQ(m.Get(Dicom_Tag(0x0010, 0x0010)), nullptr);

    // Group lengths, private creators and empty values do not make a message non-empty.
    Dicom_UL gl(0u);
    Dicom_LO creator("QUORVEX1");
    Dicom_US empty;
    ASSERT_EQ(m.Set(Dicom_Tag(uint16_t{0x0028}, uint16_t{0x0000}), &gl), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0029, 0x0010), &creator), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0028, 0x0010), &empty), 0);
    EXPECT_EQ(m.IsEmptyMsg(), 0);
    EXPECT_EQ(m.IsLogicallyEmptyMsg(), 1);
    const Dicom_Type* rows = m.Get(Dicom_Tag(0x0028, 0x0010));
    ASSERT_NE(rows, nullptr);
    EXPECT_TRUE(rows->IsEmpty());
    EXPECT_TRUE(*rows == US_NULL);
    Dicom_US one(static_cast<unsigned short>(1));
    ASSERT_EQ(m.Set(Dicom_Tag(0x0028, 0x0010), &one), 0);
    EXPECT_EQ(m.IsLogicallyEmptyMsg(), 0);
    EXPECT_FALSE(*m.Get(Dicom_Tag(0x0028, 0x0010)) == US_NULL);
    // An empty sequence is an empty value.
    Dicom_Msg s;
    ASSERT_EQ(s.Set(Dicom_Tag(0x0008, 0x1115), &SQ_NULL), 0);
    EXPECT_EQ(s.IsLogicallyEmptyMsg(), 1);
    // Set copies, SetWithoutDataCopy takes over, the illegal tag is refused.
    Dicom_SH mine("KEEP");
    ASSERT_EQ(s.Set(Dicom_Tag(0x0008, 0x0050), &mine), 0);
    EXPECT_NE(s.Get(Dicom_Tag(0x0008, 0x0050)), &mine);
    Dicom_SH* given = new Dicom_SH("GIVEN");
    ASSERT_EQ(s.SetWithoutDataCopy(Dicom_Tag(0x0008, 0x0050), given), 0);
    EXPECT_EQ(s.Get(Dicom_Tag(0x0008, 0x0050)), given);
    EXPECT_EQ(s.Set(Dicom_Tag::ILLEGAL_TAG, &mine), -1);
    EXPECT_EQ(s.Set(Dicom_Tag(0x0008, 0x0051), nullptr), -1);
}

TEST(MsgStore, AddReplaceRemoveAndUnlinkKeepElementObjects) {
    Dicom_Msg m;
    Dicom_ME* a = new Dicom_ME(Dicom_Tag(0x0010, 0x0020), new Dicom_LO("ID1"));
    Dicom_ME* b = new Dicom_ME(Dicom_Tag(0x0008, 0x0060), new Dicom_CS("CT"));
    ASSERT_EQ(m.Add(a), 0);
    ASSERT_EQ(m.Add(b), 0);
    Dicom_ME dup(Dicom_Tag(0x0010, 0x0020), new Dicom_LO("ID2"));
    EXPECT_EQ(m.Add(&dup), -1);  // the tag is there; the caller keeps its element
    EXPECT_EQ(m.Add(&dup, 1), -1);
    ASSERT_EQ(m.GetNElements(), 2);
    EXPECT_EQ(m.GetElement(0), b);  // sorted by tag
    EXPECT_EQ(m.GetElement(1), a);
    EXPECT_EQ(m.GetElement(2), nullptr);

    Dicom_ME* c = new Dicom_ME(Dicom_Tag(0x0010, 0x0020), new Dicom_LO("ID3"));
    EXPECT_EQ(m.Replace(c), 0);  // a is destroyed
    EXPECT_EQ(m.Find(Dicom_Tag(0x0010, 0x0020)), c);
    Dicom_ME* d = new Dicom_ME(Dicom_Tag(0x0010, 0x0030), new Dicom_CS("X"));
    EXPECT_EQ(m.Replace(d), -1);
    EXPECT_EQ(m.AddOrReplace(d), 0);
    EXPECT_EQ(m.GetNElements(), 3);

    // Unlinked and put back: the very same objects.
    OpenMsg o;
    ASSERT_EQ(o.Add(new Dicom_ME(Dicom_Tag(0x0010, 0x0020), new Dicom_LO("ID1"))), 0);
    ASSERT_EQ(o.Add(new Dicom_ME(Dicom_Tag(0x0008, 0x0060), new Dicom_CS("CT"))), 0);
    Dicom_SortedVector& v = o.getElements();
    Dicom_ME* first = v.at(0);
    Dicom_ME* taken = v.RemoveAt(0);
    EXPECT_EQ(taken, first);
    EXPECT_EQ(o.GetNElements(), 1);
    EXPECT_EQ(v.Insert(taken), taken);
    EXPECT_EQ(o.GetElement(0), first);
    EXPECT_EQ(v.Insert(taken), nullptr);  // already there
    Dicom_ME* byTag = v.Remove(Dicom_Tag(0x0010, 0x0020));
    ASSERT_NE(byTag, nullptr);
    EXPECT_EQ(v.Remove(Dicom_Tag(0x0010, 0x0020)), nullptr);
    EXPECT_EQ(v.Append(byTag), byTag);
    v.DetermineStrategy(100);
    Dicom_SortedVector::Iterator it = v.GetIterator();
    EXPECT_EQ(it(), first);
    EXPECT_EQ(it(), byTag);
    EXPECT_EQ(it(), nullptr);
    // The message iterator goes through the virtual store.
    Dicom_MsgIterator* mi = o.GetNewElementsIterator();
    int n = 0;
    while ((*mi)()) ++n;
    delete mi;
    EXPECT_EQ(n, 2);
    EXPECT_EQ(o.Remove(Dicom_Tag(0x0010, 0x0020)), 0);
    EXPECT_EQ(o.Remove(Dicom_Tag(0x0010, 0x0020)), -1);
}

TEST(MsgStore, SetInPlaceKeepsTheElementObject) {
    Dicom_Msg m;
    Dicom_SH a("A");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0050), &a), 0);
    Dicom_ME* before = m.Find(Dicom_Tag(0x0008, 0x0050));
    Dicom_SH b("BB");
    EXPECT_EQ(m.SetInPlace(Dicom_Tag(0x0008, 0x0050), &b), 0);
    EXPECT_EQ(m.Find(Dicom_Tag(0x0008, 0x0050)), before);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0008, 0x0050))), "BB");
    Dicom_LO other("C");
    EXPECT_EQ(m.SetInPlace(Dicom_Tag(0x0008, 0x0050), &other), -1);  // another class
    EXPECT_EQ(m.SetInPlace(Dicom_Tag(0x0008, 0x0051), &b), -1);      // absent
    // In place over a value that points into the caller's buffer leaves the buffer alone.
    Bytes buf;
    buf.ex(0x0008, 0x0050, "SH", "ORIG");
    const std::vector<unsigned char> copy = buf.b;
    int status;
    Dicom_Msg parsed(buf.data(), buf.size(), 0, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(parsed.SetInPlace(Dicom_Tag(0x0008, 0x0050), &b), 0);
    EXPECT_EQ(buf.b, copy);
    EXPECT_EQ(Raw(parsed.Get(Dicom_Tag(0x0008, 0x0050))), "BB");
}

TEST(MsgStore, DeepCopiesAreIndependentAndEqual) {
    std::vector<unsigned char> file = RichFile();
    int status;
    Dicom_Msg original(file.data(), file.size(), 0, &status);
    ASSERT_EQ(status, 0);
    const std::vector<unsigned char> reference = Encoded(original, Dicom_TransferSyntax());

    Dicom_Msg copied(original);
    EXPECT_EQ(copied.GetTransferSyntax(), original.GetTransferSyntax());
    EXPECT_EQ(Encoded(copied, Dicom_TransferSyntax()), reference);
    Dicom_Msg* cloned = original.Clone();
    EXPECT_EQ(Encoded(*cloned, Dicom_TransferSyntax()), reference);
    Dicom_Msg assigned;
    Dicom_SH junk("JUNK");
    assigned.Set(Dicom_Tag(0x0008, 0x0050), &junk);
    assigned = original;
    EXPECT_EQ(Encoded(assigned, Dicom_TransferSyntax()), reference);
    EXPECT_EQ(assigned.Get(Dicom_Tag(0x0008, 0x0050)), nullptr);
    assigned = assigned;  // self-assignment
    EXPECT_EQ(Encoded(assigned, Dicom_TransferSyntax()), reference);

    // The copies own their bytes: the input buffer can go, and changes do not travel.
    std::fill(file.begin(), file.end(), 0);
    Dicom_SH changed("NEW");
    ASSERT_EQ(cloned->Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &changed), 0);
    EXPECT_EQ(Raw(copied.Get(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL)), "LBL ");
    const Dicom_Type* pd = copied.Get(Dicom_Dictionary::PIXEL_DATA);
    ASSERT_NE(pd, nullptr);
    EXPECT_TRUE(static_cast<const Dicom_OtherType*>(pd)->IsEncapsulated());
    // Implementors and character sets survive.
    EXPECT_EQ(copied.Find(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL)->GetTag().GetImplementorID(),
              Dicom_Dictionary::QUORVEX1_IMAGE_LABEL.GetImplementorID());
    EXPECT_NE(copied.Get(Dicom_Tag(0x0010, 0x0010))->GetCharset(), 0);
    const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(copied.Get(Dicom_Tag(0x0008, 0x1115)));
    ASSERT_NE(sq, nullptr);
    EXPECT_TRUE(sq->HasUndefinedLength());
    EXPECT_FALSE(sq->ItemHasUndefinedLength(0));
    delete cloned;

    // Without pixel data: the source keeps its very element.
    Dicom_ME* pixel = copied.Find(Dicom_Dictionary::PIXEL_DATA);
    Dicom_Msg* header = copied.CloneWithoutData();
    EXPECT_EQ(header->Get(Dicom_Dictionary::PIXEL_DATA), nullptr);
    EXPECT_EQ(header->GetNElements(), copied.GetNElements() - 1);
    EXPECT_EQ(copied.Find(Dicom_Dictionary::PIXEL_DATA), pixel);
    delete header;
}

TEST(MsgStore, TrustedBuffersRoundTripInBothByteOrdersAndRejectDamage) {
    std::vector<unsigned char> file = RichFile();
    int status;
    Dicom_Msg original(file.data(), file.size(), 1, &status);
    ASSERT_EQ(status, 0);
    const std::vector<unsigned char> reference = Encoded(original, Dicom_TransferSyntax());
    for (Dicom_Endianity e : {DICOM_LITTLE_ENDIAN, DICOM_BIG_ENDIAN}) {
        unsigned int length = 0;
        char* buffer = original.CreateTrustedBuffer(e, &length);
        ASSERT_NE(buffer, nullptr);
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(
            new Dicom_TrustedBufferReader(buffer, length, &status, 1));
        ASSERT_EQ(status, 0);
        EXPECT_EQ(reader->IsBigEndian(), e == DICOM_BIG_ENDIAN);
        Dicom_Msg copy;
        ASSERT_EQ(copy.ConstructFromTrustedBuffer(reader), 0);
        EXPECT_EQ(Encoded(copy, Dicom_TransferSyntax()), reference);
        EXPECT_EQ(Raw(copy.Get(Dicom_Tag(0x0028, 0x0010))), testbytes::U16(0x1234));
    }
    // A reader that does not own its buffer: the message copies it.
    unsigned int length = 0;
    char* buffer = original.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    {
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(
            new Dicom_TrustedBufferReader(buffer, length, &status, 0));
        Dicom_Msg copy;
        ASSERT_EQ(copy.ConstructFromTrustedBuffer(reader), 0);
        reader.reset();
        std::memset(buffer, 0x55, length);
        EXPECT_EQ(Encoded(copy, Dicom_TransferSyntax()), reference);
    }
    std::free(buffer);

    // Not a trusted buffer.
    char junk[32] = "DICM and more";
    Dicom_TrustedBufferReader bad(junk, sizeof junk, &status, 0);
    EXPECT_EQ(status, -1);
    // Every truncation and every single-byte corruption of the element records fails or
    // succeeds cleanly, never reads outside the buffer (checked under the sanitizer builds).
    buffer = original.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    std::vector<char> good(buffer, buffer + length);
    std::free(buffer);
    int failures = 0;
    for (unsigned int cut = 20; cut < length; ++cut) {
        char* part = static_cast<char*>(std::malloc(cut));
        std::memcpy(part, good.data(), cut);
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(new Dicom_TrustedBufferReader(part, cut, &status, 1));
        Dicom_Msg m;
        if (m.ConstructFromTrustedBuffer(reader) != 0) ++failures;
    }
    EXPECT_EQ(failures, static_cast<int>(length - 20));
    for (unsigned int at = 20; at < length; ++at) {
        char* damaged = static_cast<char*>(std::malloc(length));
        std::memcpy(damaged, good.data(), length);
        damaged[at] = static_cast<char>(damaged[at] ^ 0xA5);
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(
            new Dicom_TrustedBufferReader(damaged, length, &status, 1));
        Dicom_Msg m;
        (void)m.ConstructFromTrustedBuffer(reader);
        std::vector<unsigned char> out;  // whatever was read is a complete message
        (void)m.Encode(out, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN));
        (void)m.GetDumpLen(Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN));
    }
}

TEST(MsgStore, QueriesOverElementsAndItems) {
    std::vector<unsigned char> file = RichFile();
    int status;
    OpenMsg m(file.data(), file.size(), 1, &status);
    ASSERT_EQ(status, 0);
    EXPECT_TRUE(m.IsMultiFormat());
    EXPECT_TRUE(m.hasGroup(0x0029));
    EXPECT_TRUE(m.hasGroup(0x7F00, 0xFF00));
    EXPECT_FALSE(m.hasGroup(0x0040));
    EXPECT_FALSE(m.hasGroup(0x0008 | 0x0100));
    EXPECT_TRUE(m.hasGroup(0x0008, 0xFFFF, true));
    Dicom_CS notMulti("ORIGINAL\\PRIMARY\\AXIAL\\MULTI_FORMAT");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0008), &notMulti), 0);
    EXPECT_FALSE(m.IsMultiFormat());  // only the third value counts
    Dicom_Msg plain;
    EXPECT_FALSE(plain.IsMultiFormat());

    // De-identification: initials, encoded ID, birth date gone. The encoding key is read once
    // per process: use the key the other tests of this executable use.
    setenv("IOD_DEID_KEY", "site-key-for-tests", 1);
    Dicom_LO id("PID-1");
    Dicom_CS birth("19700101");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0010, 0x0020), &id), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0010, 0x0030), &birth), 0);
    ASSERT_EQ(m.suppress_identification(), 0);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0010))).substr(0, 3), "M^J");
    const Dicom_LO encoded = id.GetEncoded();
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0020))), Raw(&encoded));
    EXPECT_NE(Raw(&encoded), "PID-1");
    EXPECT_EQ(m.Get(Dicom_Tag(0x0010, 0x0030)), nullptr);

    // dump and get_dump_len agree with Encode.
    const Dicom_DumpLen len = m.get_dump_len(Dicom_TransferSyntax());
    ASSERT_TRUE(len.IsValid());
    std::vector<unsigned char> buf(len.GetDumpLen());
    std::string error;
    ASSERT_EQ(m.dump(buf.data(), len.GetDumpLen(), Dicom_TransferSyntax(), &error), 0) << error;
    EXPECT_EQ(buf, Encoded(m, Dicom_TransferSyntax()));
    EXPECT_EQ(m.dump(buf.data(), len.GetDumpLen() - 1, Dicom_TransferSyntax(), &error), -1);

    std::string xml;
    ASSERT_EQ(m.DumpToXml(DICOM_XML_PRINT_VALUES, &xml), 0);
    EXPECT_NE(xml.find("tag=\"00280010\" vr=\"US\""), std::string::npos) << xml;
    EXPECT_NE(xml.find("<Item number=\"1\">"), std::string::npos);
    EXPECT_NE(xml.find("CODE"), std::string::npos);
}

TEST(MsgStore, UpdateAndCopyAttributes) {
    Dicom_Msg target, source;
    Dicom_SH a("A"), b("B"), empty;
    ASSERT_EQ(target.Set(Dicom_Tag(0x0008, 0x0050), &a), 0);
    ASSERT_EQ(target.Set(Dicom_Tag(0x0008, 0x0080), &a), 0);
    ASSERT_EQ(source.Set(Dicom_Tag(0x0008, 0x0050), &b), 0);
    ASSERT_EQ(source.Set(Dicom_Tag(0x0008, 0x0080), &empty), 0);
    ASSERT_EQ(source.Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &b), 0);
    // The target's group 0029 block 10 belongs to someone else: the private element moves.
    Dicom_LO other("OTHER");
    ASSERT_EQ(target.Set(Dicom_Tag(0x0029, 0x0010), &other), 0);
    ASSERT_EQ(target.Update(source, true, false), 0);
    EXPECT_EQ(Raw(target.Get(Dicom_Tag(0x0008, 0x0050))), "B");
    EXPECT_EQ(target.Get(Dicom_Tag(0x0008, 0x0080)), nullptr);  // removed: empty in the source
    EXPECT_EQ(Raw(target.Get(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL)), "B");
    EXPECT_EQ(Raw(target.Get(Dicom_Tag(0x0029, 0x0010))), "OTHER");
    EXPECT_EQ(Raw(target.Get(Dicom_Tag(0x0029, 0x1117))), "B");

    // Recursive: items are updated in place, extra items appended.
    Dicom_Msg withSeq, update;
    for (Dicom_Msg* m : {&withSeq, &update}) {
        Dicom_SQ sq;
        Dicom_Msg* item = new Dicom_Msg();
        Dicom_SH v(m == &withSeq ? "OLD" : "NEW");
        item->Set(Dicom_Tag(0x0008, 0x0100), &v);
        if (m == &withSeq) item->Set(Dicom_Tag(0x0008, 0x0102), &v);
        sq.AddItem(item);
        if (m == &update) sq.AddItem(new Dicom_Msg());
        m->Set(Dicom_Tag(0x0040, 0xA730), &sq);
    }
    ASSERT_EQ(withSeq.Update(update, false, true), 0);
    Dicom_Helper h(withSeq);
    EXPECT_EQ(Raw(h.GetSequenceMsgTag(Dicom_Tag(0x0040, 0xA730), Dicom_Tag(0x0008, 0x0100), 0)), "NEW");
    EXPECT_EQ(Raw(h.GetSequenceMsgTag(Dicom_Tag(0x0040, 0xA730), Dicom_Tag(0x0008, 0x0102), 0)), "OLD");
    EXPECT_NE(h.GetSequenceMsg(Dicom_Tag(0x0040, 0xA730), 1), nullptr);

    // CopyAttributes: the elements named by the list.
    RWSortedVector wanted;
    Dicom_ME w1(Dicom_Tag(0x0008, 0x0050), new Dicom_SH("x"));
    Dicom_ME w2(Dicom_Tag(0x0010, 0x9999), new Dicom_SH("x"));
    wanted.insert(&w1);
    wanted.insert(&w2);
    Dicom_Msg copyTarget;
    EXPECT_EQ(target.CopyAttributes(copyTarget, wanted), 0);
    EXPECT_EQ(copyTarget.GetNElements(), 1);
    EXPECT_EQ(Raw(copyTarget.Get(Dicom_Tag(0x0008, 0x0050))), "B");
}

TEST(MsgStore, DuplicateTagsFollowThePolicy) {
    Bytes b;
    b.ex(0x0008, 0x0050, "SH", "FIRST ");
    b.ex(0x0008, 0x0050, "SH", "SECOND");
    int status;
    EXPECT_EQ(Dicom_Msg::tolerance, static_cast<unsigned>(DICOM_POLICY_FIRST));
    Dicom_Msg keepFirst(b.data(), b.size(), 1, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Raw(keepFirst.Get(Dicom_Tag(0x0008, 0x0050))), "FIRST ");
    Dicom_Msg::SetTagPolicy(Dicom_Tag(0x0008, 0x0050), DICOM_POLICY_LAST);
    Dicom_ME probe(Dicom_Tag(0x0008, 0x0050), new Dicom_SH("x"));
    EXPECT_EQ(keepFirst.TagPolicy(&probe), static_cast<unsigned>(DICOM_POLICY_LAST));
    Dicom_Msg keepLast(b.data(), b.size(), 1, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Raw(keepLast.Get(Dicom_Tag(0x0008, 0x0050))), "SECOND");
    Dicom_Msg::ClearTagPolicies();
    EXPECT_EQ(keepFirst.TagPolicy(&probe), Dicom_Msg::tolerance);
    // Strict reading refuses the duplicate.
    Dicom_UI explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    Dicom_Msg strict(b.data(), b.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY, false, true);
    EXPECT_EQ(status, -1);
}
