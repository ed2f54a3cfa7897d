// Fuzz target: the message operations of IOD_Msg on whatever the reader makes of the input.
//
// The selective clones (Clone(tags), CloneWithoutPD, CloneWithoutTags, CloneWithoutPDAndTags)
// unlink elements from the source and put them back: after each one the source must hold the very
// same element objects, serialise to the same bytes, and the clone must hold exactly what was
// asked for. CalcMsgLength and ReduceFrameIncrementPointerVector (on a copy) must not crash,
// over-read or leak, whatever the attributes hold. A message that parsed only in part is used
// too: it is a complete object.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_UI.h>
#include <IOD/IOD_Msg.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "fuzz_common.h"

namespace {

struct Snapshot {
    std::vector<const Dicom_ME*> elements;
    std::vector<char> bytes;  // the trusted buffer
};

Snapshot Take(const IOD_Msg& msg) {
    Snapshot s;
    for (int i = 0; i < msg.GetNElements(); ++i) s.elements.push_back(msg.GetElement(i));
    unsigned int length = 0;
    char* buffer = msg.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    if (buffer != nullptr) s.bytes.assign(buffer, buffer + length);
    std::free(buffer);
    return s;
}

void CheckUnchanged(const IOD_Msg& msg, const Snapshot& before, const char* operation) {
    const Snapshot after = Take(msg);
    if (after.elements != before.elements)
        fuzz::Fail("%s: the source holds %zu element objects, not the %zu it held", operation,
                   after.elements.size(), before.elements.size());
    if (after.bytes != before.bytes) fuzz::Fail("%s: the source's content changed", operation);
}

// The clone holds an element for `tag` exactly when `expected` says so.
void CheckHas(const IOD_Msg& clone, const Dicom_Tag& tag, bool expected, const char* operation) {
    const bool has = clone.Find(tag, false) != nullptr;
    if (has != expected)
        fuzz::Fail("%s: the clone %s %s", operation, has ? "holds" : "lacks", tag.ToString().c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0xFFFFFFFFu) return 0;
    int status = -1;
    IOD_Msg msg(const_cast<uint8_t*>(data), static_cast<unsigned int>(size), 1, &status);
    const Snapshot before = Take(msg);
    const int count = msg.GetNElements();

    // Tags chosen from the message itself: every third element, in stored and unresolved form.
    std::vector<Dicom_Tag> chosen;
    for (int i = 0; i < count; i += 3) chosen.push_back(msg.GetElement(i)->GetTag());

    {
        // The pixel elements are the ones the message finds under the three tags.
        std::vector<const Dicom_ME*> pixels;
        for (const Dicom_Tag& tag : {Dicom_Tag(0x7FE00010u), Dicom_Dictionary::KOVEL_COMPRESSED_PIXEL_DATA,
                                     Dicom_Dictionary::KOVEL_ENCRYPTED_PIXEL_DATA})
            pixels.push_back(msg.Find(tag, false));
        std::unique_ptr<IOD_Msg> clone(msg.CloneWithoutPD());
        CheckUnchanged(msg, before, "CloneWithoutPD");
        if (!clone) fuzz::Fail("CloneWithoutPD: null without an intruding element");
        for (const Dicom_ME* element : before.elements) {
            if (element->GetTag().IsPrivateImplementor()) continue;
            const bool pixel = std::find(pixels.begin(), pixels.end(), element) != pixels.end();
            CheckHas(*clone, element->GetTag(), !pixel, "CloneWithoutPD");
        }
    }
    {
        RWTValOrderedVector<Dicom_Tag> tags;
        for (const Dicom_Tag& tag : chosen) tags.append(tag);
        std::unique_ptr<IOD_Msg> clone(msg.CloneWithoutTags(tags));
        CheckUnchanged(msg, before, "CloneWithoutTags");
        if (!clone) fuzz::Fail("CloneWithoutTags: null without an intruding element");
        for (const Dicom_Tag& tag : chosen) CheckHas(*clone, tag, false, "CloneWithoutTags");
        const size_t entries = tags.entries();
        std::unique_ptr<IOD_Msg> both(msg.CloneWithoutPDAndTags(tags));
        CheckUnchanged(msg, before, "CloneWithoutPDAndTags");
        if (!both || tags.entries() > entries + 3)
            fuzz::Fail("CloneWithoutPDAndTags: null or a duplicate tag");
    }
    {
        std::vector<Dicom_Tag> keep;
        for (Dicom_Tag tag : chosen) keep.push_back(tag.Unresolve());
        RWTPtrSlist<Dicom_Tag> list;
        for (Dicom_Tag& tag : keep) list.append(&tag);
        std::unique_ptr<IOD_Msg> clone(msg.Clone(list));
        CheckUnchanged(msg, before, "Clone(tags)");
        if (!clone) fuzz::Fail("Clone(tags): null");
        // Every element of the clone is a private creator or one that was asked for.
        for (int i = 0; i < clone->GetNElements(); ++i) {
            Dicom_Tag tag = clone->GetElement(i)->GetTag();
            if (!tag.IsPrivateImplementor() && !list.contains(&tag.Unresolve()))
                fuzz::Fail("Clone(tags): the clone holds %s, which was not asked for",
                           tag.ToString().c_str());
        }
    }

    (void)msg.CalcMsgLength(Dicom_UI("1.2.840.10008.1.2.1"));
    (void)msg.CalcMsgLength(Dicom_UI(msg.GetTransferSyntax().GetUID().c_str()));
    CheckUnchanged(msg, before, "CalcMsgLength");

    std::unique_ptr<IOD_Msg> copy(static_cast<IOD_Msg*>(msg.Clone()));
    copy->ReduceFrameIncrementPointerVector(size > 0 ? data[size - 1] % 4 : 1);
    if (copy->Find(Dicom_Tag(0x00280009u), false) != nullptr && size > 0 && data[size - 1] % 4 != 0)
        fuzz::Fail("ReduceFrameIncrementPointerVector: the pointer is still there");
    std::vector<unsigned char> out;
    (void)copy->Encode(out);
    return 0;
}
