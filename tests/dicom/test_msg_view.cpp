// A message that presents more than it owns: writes of the base land in the own store, private
// tags resolve and reserve against what it presents, AddOrReplace decides on it, and changes in
// place never reach the message whose elements are shown.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_UL.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<unsigned char> Encoded(const Dicom_Msg& m) {
    std::vector<unsigned char> out;
    EXPECT_EQ(m.Encode(out), 0);
    return out;
}

// Shows the elements of `under` beside its own (its own win); Replace falls back to Add, as a
// layer over another message does.
class ShowingMsg : public Dicom_Msg {
public:
    explicit ShowingMsg(const Dicom_Msg& under) : m_under(under) {}
    int Replace(Dicom_ME* element) override {
        ++replaces;
        return Dicom_Msg::Replace(element) == 0 ? 0 : Dicom_Msg::Add(element, 0);
    }
    size_t Owned() const { return Dicom_Msg::getElements().entries(); }
    int replaces = 0;

protected:
    Dicom_SortedVector& getElements() const override {
        m_view.Clear();
        for (const Dicom_SortedVector* v :
             {static_cast<const Dicom_SortedVector*>(&Dicom_Msg::getElements()), &elements_of(m_under)})
            for (size_t i = 0; i < v->entries(); ++i) m_view.Insert(v->at(i));  // refused when owned
        return m_view;
    }

private:
    const Dicom_Msg& m_under;
    mutable Dicom_SortedVector m_view;
};

}  // namespace

TEST(MsgView, WritesLandInTheOwnStoreAndNeverInTheShownMessage) {
    Dicom_Msg under;
    Dicom_LO latin1("ISO_IR 100"), other("OTHER CO");
    Dicom_PN name(L"Müller^Hans");
    Dicom_SH label("label");
    under.Set(Dicom_Tag(0x0008, 0x0005), &latin1);
    under.Set(Dicom_Tag(0x0010, 0x0010), &name);
    under.Set(Dicom_Tag(0x0029, 0x0010), &other);
    under.Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &label);  // block 11
    const std::vector<unsigned char> before = Encoded(under);
    ShowingMsg m(under);

    // A creator the view shows is reused; a new one takes the first block free in the view.
    EXPECT_EQ(m.SetInPlace(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &other), -1);  // LO over SH
    EXPECT_EQ(m.SetInPlace(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &label), 0);
    EXPECT_EQ(m.Owned(), 1u);
    Dicom_UL length(9);
    EXPECT_EQ(m.Set(Dicom_Dictionary::KOVEL_MSG_LENGTH, &length), 0);
    unsigned short block = 0;
    EXPECT_EQ(m.FindImplementorPrefix(0x0029, Dicom_LO("KOVEL"), &block), 0);
    EXPECT_EQ(block, 0x12);
    EXPECT_EQ(m.Owned(), 3u);
    // AddOrReplace of a shown tag goes through the virtual Replace; Remove only removes owned ones.
    Dicom_PN roe("Roe^Ann");
    EXPECT_EQ(m.AddOrReplace(new Dicom_ME(Dicom_Tag(0x0010, 0x0010), &roe, 1)), 0);
    EXPECT_EQ(m.replaces, 1);
    EXPECT_EQ(m.Remove(Dicom_Tag(0x0008, 0x0005)), -1);
    // Text beyond Latin-1 moves the message to UTF-8: shown text is copied, then converted.
    Dicom_PN japanese(L"山田^太郎");
    EXPECT_EQ(m.Set(Dicom_Tag(0x0010, 0x1001), &japanese), 0);
    const Dicom_Type* cs = m.Get(Dicom_Tag(0x0008, 0x0005));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(cs->GetData()), cs->GetRawLen()), "ISO_IR 192");
    EXPECT_EQ(m.Owned(), 8u);  // + the character set and both creators, copied to be converted
    EXPECT_EQ(m.GetNElements(), under.GetNElements() + 3);
    EXPECT_EQ(Encoded(under), before);
    Dicom_Msg copy(m);  // copies, encodings and counts are of the view
    EXPECT_EQ(Encoded(copy), Encoded(m));
    // The store's version moves with every insertion and removal, not with lookups.
    Dicom_SortedVector v;
    Dicom_ME a(Dicom_Tag(0x0008, 0x0020), new Dicom_SH("a"));
    v.Insert(&a);
    const uint64_t inserted = v.Version();
    EXPECT_EQ(v.Insert(&a), nullptr);
    EXPECT_NE(v.Find(0x00080020u), nullptr);
    EXPECT_EQ(v.Version(), inserted);
    v.Remove(Dicom_Tag(0x0008, 0x0020));
    EXPECT_GT(v.Version(), inserted);
}
