// A message that presents more than it owns: writes of the base land in the own store, private
// tags are resolved and reserved against what the message presents, AddOrReplace decides on it,
// encoding reads it, and changes in place never reach the message whose elements are shown.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_US.h>
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
        const Dicom_SortedVector& own = Dicom_Msg::getElements();
        const Dicom_SortedVector& under = elements_of(m_under);
        m_view.Clear();
        for (size_t i = 0; i < own.entries(); ++i) m_view.Insert(own.at(i));
        for (size_t i = 0; i < under.entries(); ++i) m_view.Insert(under.at(i));  // refused when owned
        return m_view;
    }

private:
    const Dicom_Msg& m_under;
    mutable Dicom_SortedVector m_view;
};

// Latin-1 text, a creator of someone else in block 10 of (0029), a QUORVEX1 attribute, and an
// annotation sequence with a text object whose anchor point can be scaled.
Dicom_Msg MakeUnder() {
    Dicom_Msg m;
    Dicom_LO latin1("ISO_IR 100"), other("OTHER CO");
    m.Set(Dicom_Tag(0x0008, 0x0005), &latin1);
    Dicom_PN name(L"Müller^Hans");
    m.Set(Dicom_Tag(0x0010, 0x0010), &name);
    m.Set(Dicom_Tag(0x0029, 0x0010), &other);
    Dicom_SH label("label");
    m.Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &label);  // block 11
    Dicom_Msg* text = new Dicom_Msg();
    Dicom_FL point(std::vector<float>{10.0f, 20.0f});
    text->Set(Dicom_Tag(0x0070, 0x0014), &point);
    Dicom_Sequence texts, annotations;
    texts.Append(text);
    annotations.Append(new Dicom_Msg());
    Dicom_SQ textSequence(texts);
    annotations.Get(0)->Set(Dicom_Tag(0x0070, 0x0008), &textSequence);
    Dicom_SQ annotationSequence(annotations);
    m.Set(Dicom_Tag(0x0070, 0x0001), &annotationSequence);
    return m;
}

}  // namespace

TEST(MsgView, WritesLandInTheOwnStoreAndReadsSeeTheView) {
    const Dicom_Msg under = MakeUnder();
    const std::vector<unsigned char> before = Encoded(under);
    ShowingMsg m(under);
    // A private attribute of a creator that the view shows reuses its block: nothing else is owned.
    Dicom_SH label("mine");
    EXPECT_EQ(m.Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &label), 0);
    EXPECT_EQ(m.Owned(), 1u);
    EXPECT_NE(m.Find(Dicom_Tag(0x0029, 0x1117)), nullptr);
    // A new creator takes the first block free in the view (12), in the own store.
    Dicom_US length(9);
    EXPECT_EQ(m.Set(Dicom_Dictionary::KOVEL_MSG_LENGTH, &length), 0);
    unsigned short block = 0;
    EXPECT_EQ(m.FindImplementorPrefix(0x0029, Dicom_LO("KOVEL"), &block), 0);
    EXPECT_EQ(block, 0x12);
    EXPECT_EQ(m.Owned(), 3u);
    // AddOrReplace of a shown tag goes through the virtual Replace.
    Dicom_PN name("Roe^Ann");
    EXPECT_EQ(m.AddOrReplace(new Dicom_ME(Dicom_Tag(0x0010, 0x0010), &name, 1)), 0);
    EXPECT_EQ(m.replaces, 1);
    EXPECT_EQ(m.Remove(Dicom_Tag(0x0008, 0x0005)), -1);  // shown, not owned: nothing to remove
    EXPECT_EQ(m.GetNElements(), under.GetNElements() + 2);
    EXPECT_EQ(Encoded(under), before);
    // Encoding and copies are of the view.
    Dicom_Msg copy(m);
    EXPECT_EQ(Encoded(copy), Encoded(m));
    EXPECT_EQ(copy.GetNElements(), m.GetNElements());
}

TEST(MsgView, ChangesInPlaceCopyShownElementsFirst) {
    const Dicom_Msg under = MakeUnder();
    const std::vector<unsigned char> before = Encoded(under);
    ShowingMsg m(under);
    Dicom_SH label("other");
    EXPECT_EQ(m.SetInPlace(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &label), 0);
    EXPECT_EQ(m.MoveTextObjectSeqBy(2, 3), 0);
    // Text beyond Latin-1 moves the message to UTF-8: the shown names are copied, then converted.
    Dicom_PN japanese(L"山田^太郎");
    EXPECT_EQ(m.Set(Dicom_Tag(0x0010, 0x1001), &japanese), 0);
    EXPECT_EQ(Encoded(under), before);
    const Dicom_Type* cs = m.Get(Dicom_Tag(0x0008, 0x0005));
    ASSERT_NE(cs, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(cs->GetData()), cs->GetRawLen()), "ISO_IR 192");
    const Dicom_Type* name = m.Get(Dicom_Tag(0x0010, 0x0010));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(name->GetData()), name->GetRawLen()),
              "M\xC3\xBCller^Hans");
    const Dicom_Type* anchor =
        Dicom_Helper(*Dicom_Helper(m).GetSequenceMsg(Dicom_Tag(0x0070, 0x0001), 0))
            .GetSequenceMsgTag(Dicom_Tag(0x0070, 0x0008), Dicom_Tag(0x0070, 0x0014), 0);
    ASSERT_NE(anchor, nullptr);
    EXPECT_EQ(static_cast<const Dicom_FL*>(anchor)->Get(0), 20.0f);
    // A value changed in place keeps the element object; FindChangeable of an owned one is itself.
    Dicom_ME* owned = m.FindChangeable(Dicom_Tag(0x0010, 0x0010));
    EXPECT_EQ(m.FindChangeable(Dicom_Tag(0x0010, 0x0010)), owned);
    EXPECT_EQ(m.FindChangeable(Dicom_Tag(0x0010, 0x0030)), nullptr);
}

TEST(MsgView, StoreVersionAdvancesWithEveryChangeOfThePointers) {
    Dicom_SortedVector v;
    Dicom_ME a(Dicom_Tag(0x0008, 0x0020), new Dicom_SH("a")), b(Dicom_Tag(0x0008, 0x0010), new Dicom_SH("b"));
    uint64_t last = v.Version();
    auto advanced = [&] {
        const bool moved = v.Version() > last;
        last = v.Version();
        return moved;
    };
    v.Append(&a);
    EXPECT_TRUE(advanced());
    v.Insert(&b);
    EXPECT_TRUE(advanced());
    EXPECT_EQ(v.Insert(&b), nullptr);
    EXPECT_NE(v.Find(0x00080010u), nullptr);
    EXPECT_FALSE(advanced());  // refused insertions and lookups change nothing
    v.Remove(Dicom_Tag(0x0008, 0x0010));
    EXPECT_TRUE(advanced());
    v.Clear();
    EXPECT_TRUE(advanced());
}
