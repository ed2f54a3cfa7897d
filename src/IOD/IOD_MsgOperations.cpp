// IOD_Msg message operations: selective clones and filtering, message length, SOP common
// module, identity masking and the reduction of per-frame vectors to one frame.
//
// The selective clones never copy an element one by one: they unlink the elements that must not
// be copied from this message's element vector, Clone() what is left (through the virtual
// Clone, so a subclass clones with its own), and put the very same element objects back. The
// element walks use the virtual GetNElements / GetElement / Find / Remove, so a subclass that
// keeps its own element store is filtered through it.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_SortedVector.h>
#include <Dicom/Dicom_UIDGenerator.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_Image.h>
#include <IOD/IOD_Msg.h>
#include <RW/RWOrdered.h>

#include <vector>

namespace {

constexpr const char* kLogFile = "src/IOD/IOD_Msg";
constexpr int kCategory = 19;

// The standard tags used below.
constexpr Dicom_Tag kImageType{0x00080008u};
constexpr Dicom_Tag kInstanceCreationDate{0x00080012u};
constexpr Dicom_Tag kInstanceCreationTime{0x00080013u};
constexpr Dicom_Tag kSopClassUid{0x00080016u};
constexpr Dicom_Tag kSopInstanceUid{0x00080018u};
constexpr Dicom_Tag kModality{0x00080060u};
constexpr Dicom_Tag kPatientsName{0x00100010u};
constexpr Dicom_Tag kPatientId{0x00100020u};
constexpr Dicom_Tag kSamplesPerPixel{0x00280002u};
constexpr Dicom_Tag kPhotometricInterpretation{0x00280004u};
constexpr Dicom_Tag kNumberOfFrames{0x00280008u};
constexpr Dicom_Tag kFrameIncrementPointer{0x00280009u};
constexpr Dicom_Tag kRows{0x00280010u};
constexpr Dicom_Tag kColumns{0x00280011u};
constexpr Dicom_Tag kBitsAllocated{0x00280100u};
constexpr Dicom_Tag kPixelData{0x7FE00010u};

// The elements of the VOI LUT module, in the order they are removed.
constexpr Dicom_Tag kVoiLutModule[] = {
    Dicom_Tag(0x00281050u),  // Window Center
    Dicom_Tag(0x00281051u),  // Window Width
    Dicom_Tag(0x00281055u),  // Window Center & Width Explanation
    Dicom_Tag(0x00281056u),  // VOI LUT Function
    Dicom_Tag(0x00283010u),  // VOI LUT Sequence
    Dicom_Tag(0x00283110u),  // Softcopy VOI LUT Sequence
};

// A copy of the value under `tag` as class V, or of V's null constant when it is absent. A value
// that the file stored in another VR is read as V from its bytes.
template <class V>
V ValueOf(const Dicom_Msg& msg, const Dicom_Tag& tag, const V& null) {
    const Dicom_Type* found = msg.Get(tag);
    if (found == nullptr) return V(null);
    if (found->GetVR() == null.GetVR()) return V(*static_cast<const V*>(found));
    V value;
    if (found->GetVR() != Dicom_VR::SQ && value.SetRaw(found->GetData(), found->GetRawLen()) == 0)
        value.SetCharset(found->GetCharset());
    return value;
}

// The same without a copy when the value is stored as V (the length calculation allocates
// nothing of its own then): the stored value, V's null constant when absent, or a converted copy
// kept in `converted`.
template <class V>
const V& ValueIn(const Dicom_Msg& msg, const Dicom_Tag& tag, const V& null, V& converted) {
    const Dicom_Type* found = msg.Get(tag);
    if (found == nullptr) return null;
    if (found->GetVR() == null.GetVR()) return *static_cast<const V*>(found);
    converted = ValueOf(msg, tag, null);
    return converted;
}

// The length of a binary value field as encoded (even; encapsulated data with its delimiter).
unsigned int EncodedValueLength(const Dicom_Type& value) {
    if (const auto* other = dynamic_cast<const Dicom_OtherType*>(&value))
        return other->GetDumpLen().GetDumpLen();
    return value.GetRawLen() + (value.GetRawLen() & 1u);
}

// The compression parameters every length calculation passes to the DICOM layer.
SCompressionParms LengthParameters() {
    SCompressionParms parameters;
    parameters.fields[0] = 23;
    parameters.fields[1] = 22;
    parameters.fields[2] = 4;
    parameters.fields[3] = 90;
    return parameters;
}

// The single process-wide UID generator, created on first use (thread-safe one-time
// initialisation of a function-local static) and kept until the process ends.
Dicom_UIDGenerator& UidGenerator() {
    static Dicom_UIDGenerator* const generator = new Dicom_UIDGenerator();
    return *generator;
}

// Takes `found` (an element that Find returned) out of `elements` without destroying it.
// Returns it, or null when it is not there (a store that found it elsewhere).
Dicom_ME* Unlink(Dicom_SortedVector& elements, Dicom_ME* found) {
    if (found == nullptr) return nullptr;
    const long index = elements.Index(found->GetTag());
    if (index < 0 || elements.at(static_cast<size_t>(index)) != found) return nullptr;
    return elements.RemoveAt(static_cast<size_t>(index));
}

// Puts unlinked elements back into `elements` in order. Returns the index of the first one
// that cannot go back (an element with its tag appeared meanwhile), or -1 when all went back.
// The element that failed and those after it belong to nobody any more and are destroyed.
int PutBack(Dicom_SortedVector& elements, const std::vector<Dicom_ME*>& unlinked) {
    for (size_t i = 0; i < unlinked.size(); ++i) {
        if (elements.Insert(unlinked[i]) == nullptr) {
            for (size_t j = i; j < unlinked.size(); ++j) delete unlinked[j];
            return static_cast<int>(i);
        }
    }
    return -1;
}

// The clone made by the virtual Clone(), as the IOD_Msg it is. A subclass whose Clone() makes
// something else gets null (and the object is not leaked).
IOD_Msg* AsIodMsg(Dicom_Msg* clone) {
    IOD_Msg* msg = dynamic_cast<IOD_Msg*>(clone);
    if (msg == nullptr) delete clone;
    return msg;
}

// Reduces a multi-valued value of class V to its value `index` and stores it under `tag`.
template <class V>
void ReduceTo(IOD_Msg& msg, const Dicom_Tag& tag, const Dicom_Type& value, int index) {
    V single = static_cast<const V&>(value)[index];
    msg.Set(tag, &single);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Cloning and filtering

IOD_Msg* IOD_Msg::Clone(const RWTPtrSlist<Dicom_Tag>& tags) {
    const int count = GetNElements();
    const RWTPtrSlist<Dicom_Tag> keep(tags);
    if (KvlGLog.StoreParams(kLogFile, "IOD_Msg::Clone", __LINE__, 7, kCategory, 1))
        KvlGLog.Log("In IOD_Msg::Clone()\n");
    if (keep.isEmpty() || count == 0) return new IOD_Msg();

    Dicom_SortedVector& elements = getElements();
    RWOrdered unlinked(static_cast<size_t>(count));
    for (int i = count - 1; i >= 0; --i) {
        Dicom_ME* element = GetElement(i);
        if (element == nullptr) continue;
        Dicom_Tag tag = element->GetTag();
        const bool creator = tag.IsPrivateImplementor();
        tag.Unresolve();
        if (creator || keep.contains(&tag)) continue;
        unlinked.append(element);
        elements.RemoveAt(static_cast<size_t>(i));
    }
    Dicom_Msg* clone = Clone();
    // Last unlinked first; an element whose tag was taken meanwhile cannot go back and is
    // destroyed rather than leaked.
    for (size_t i = unlinked.entries(); i-- > 0;) {
        Dicom_ME* element = static_cast<Dicom_ME*>(unlinked[i]);
        if (elements.Insert(element) == nullptr) delete element;
    }
    return AsIodMsg(clone);
}

IOD_Msg* IOD_Msg::CloneWithoutPD() {
    static const Dicom_Tag pixelTags[3] = {kPixelData, Dicom_Dictionary::KOVEL_COMPRESSED_PIXEL_DATA,
                                           Dicom_Dictionary::KOVEL_ENCRYPTED_PIXEL_DATA};
    static const char* const failures[3] = {"CloneWithoutPD(): Can't insert PIXEL_DATA.\n",
                                            "CloneWithoutPD(): Can't insert KOVEL_COMPRESSED_PIXEL_DATA.\n",
                                            "CloneWithoutPD(): Can't insert KOVEL_ENCRYPTED_PIXEL_DATA.\n"};
    Dicom_SortedVector& elements = getElements();
    std::vector<Dicom_ME*> unlinked;
    int kinds[3];
    for (int i = 0; i < 3; ++i) {
        Dicom_ME* element = Unlink(elements, Find(pixelTags[i], false));
        if (element == nullptr) continue;
        kinds[unlinked.size()] = i;
        unlinked.push_back(element);
    }
    Dicom_Msg* clone = Clone();
    const int failed = PutBack(elements, unlinked);
    if (failed >= 0) {
        if (KvlGLog.StoreParams(kLogFile, "IOD_Msg::CloneWithoutPD", __LINE__, 3, kCategory, 1))
            KvlGLog.Log("%s", failures[kinds[failed]]);
        delete clone;
        return nullptr;
    }
    return AsIodMsg(clone);
}

IOD_Msg* IOD_Msg::CloneWithoutTags(RWTValOrderedVector<Dicom_Tag>& tags) {
    Dicom_SortedVector& elements = getElements();
    std::vector<Dicom_ME*> unlinked;
    for (size_t i = 0; i < tags.entries(); ++i) {
        Dicom_ME* element = Unlink(elements, Find(tags[i], false));
        if (element != nullptr) unlinked.push_back(element);
    }
    Dicom_Msg* clone = Clone();
    if (PutBack(elements, unlinked) >= 0) {
        // The text names the pixel data whatever the tag was: callers and log readers know it so.
        if (KvlGLog.StoreParams(kLogFile, "IOD_Msg::CloneWithoutTags", __LINE__, 3, kCategory, 1))
            KvlGLog.Log("CloneWithoutPD(): Can't insert PIXEL_DATA.\n");
        delete clone;
        return nullptr;
    }
    return AsIodMsg(clone);
}

IOD_Msg* IOD_Msg::CloneWithoutPDAndTags(RWTValOrderedVector<Dicom_Tag>& tags) {
    // The caller's vector is extended on purpose: it then lists everything left out.
    const Dicom_Tag pixelTags[3] = {kPixelData, Dicom_Dictionary::KOVEL_COMPRESSED_PIXEL_DATA,
                                    Dicom_Dictionary::KOVEL_ENCRYPTED_PIXEL_DATA};
    for (const Dicom_Tag& tag : pixelTags) {
        if (!tags.contains(tag)) tags.append(tag);
    }
    return CloneWithoutTags(tags);
}

IOD_Msg& IOD_Msg::RemoveByMask(const RWTPtrSlist<Dicom_Tag>& tags) {
    const int count = GetNElements();
    const RWTPtrSlist<Dicom_Tag> keep(tags);
    if (KvlGLog.StoreParams(kLogFile, "IOD_Msg::RemoveByMask", __LINE__, 7, kCategory, 1))
        KvlGLog.Log("In IOD_Msg::RemoveByMask()\n");
    for (int i = count - 1; i >= 0; --i) {
        const Dicom_ME* element = GetElement(i);
        if (element == nullptr) continue;
        const Dicom_Tag stored = element->GetTag();
        Dicom_Tag tag = stored;
        const bool creator = tag.IsPrivateImplementor();
        tag.Unresolve();
        // Removed under the tag it is stored with, so that a private element is found even when
        // two blocks of its group carry the same creator.
        if (!creator && !keep.contains(&tag)) Remove(stored);
    }
    return *this;
}

void IOD_Msg::ClearGroup(unsigned short group) {
    for (int i = GetNElements() - 1; i >= 0; --i) {
        const Dicom_ME* element = GetElement(i);
        if (element == nullptr) break;
        // The family is named by its high byte: the argument is not masked.
        if ((element->GetTag().GetGroup() & 0xFF00) == group) Remove(element->GetTag());
    }
}

void IOD_Msg::ClearOverlaysAndCurves() { RemoveOverlaysAndCurves(); }

void IOD_Msg::RemoveMsgVoiModule() {
    for (const Dicom_Tag& tag : kVoiLutModule) Remove(tag);
}

// ---------------------------------------------------------------------------------------------
// Message length

Dicom_DumpLen IOD_Msg::compute_single_msg_len(Dicom_Msg& msg, Dicom_UI transferSyntax) {
    static const char* const kFunction = "IOD_Msg::compute_single_msg_len";
    const unsigned int total = msg.GetDumpLen(transferSyntax, 0, LengthParameters(), nullptr).GetDumpLen();
    if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
        KvlGLog.Log("compute_single_msg_len:\n");

    // The pixel values are looked at in place, never copied: their size is all that counts.
    const Dicom_Type* compressed = msg.Get(Dicom_Dictionary::KOVEL_COMPRESSED_PIXEL_DATA);
    Dicom_CS photometricCopy;
    Dicom_UI sopClassCopy;
    const Dicom_US samples = ValueOf(msg, kSamplesPerPixel, US_NULL);
    const Dicom_CS& photometric = ValueIn(msg, kPhotometricInterpretation, CS_NULL, photometricCopy);
    const Dicom_UI& sopClass = ValueIn(msg, kSopClassUid, UI_NULL, sopClassCopy);

    if (compressed == nullptr || compressed->IsEmpty()) {  // equal to OB_NULL
        const Dicom_Type* pixels = msg.Get(kPixelData);
        if (pixels == nullptr || pixels->IsEmpty()) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
                KvlGLog.Log("compute_single_msg_len: pixel data tag not found. Can't calculate image size\n");
            return Dicom_DumpLen(false);
        }
        unsigned int imageSize = pixels->GetRawLen();
        const unsigned int headerSize = total - imageSize;
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("compute_single_msg_len: not compressed; header_size %u, image_size %u\n", headerSize,
                        imageSize);
        const Dicom_US bitsAllocated = ValueOf(msg, kBitsAllocated, US_NULL);
        if (bitsAllocated == US_NULL) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
                KvlGLog.Log(
                    "compute_single_msg_len: bits allocated tag not found. Can't calculate image size.\n");
            return Dicom_DumpLen(false);
        }
        if (samples == US_NULL) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
                KvlGLog.Log(
                    "compute_single_msg_len: samples per pixel tag not found. Can't calculate image size.\n");
            return Dicom_DumpLen(false);
        }
        const int bits = static_cast<unsigned short>(bitsAllocated);
        const int samplesPerPixel = static_cast<unsigned short>(samples);
        // Single-plane 8-bit data is sent as 16-bit.
        if (bits == 8 && samplesPerPixel != 3) imageSize *= 2;
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("compute_single_msg_len: BitsAllocated %d, SamplesPerPixel %d, image_size %u\n", bits,
                        samplesPerPixel, imageSize);
        if (photometric == CS_NULL) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
                KvlGLog.Log(
                    "compute_single_msg_len: photometric interpretation not found. Can't calculate image size.\n");
            return Dicom_DumpLen(false);
        }
        if (sopClass == UI_NULL) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
                KvlGLog.Log(
                    "compute_single_msg_len: sop class uid tag not found. Can't calculate image size.\n");
            return Dicom_DumpLen(false);
        }
        // A palette secondary capture is sent as RGB.
        if (photometric == IOD_Image::PALETTE_COLOR &&
            sopClass == Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE)
            imageSize *= 3;
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("compute_single_msg_len: image_size %u\n", imageSize);
        return Dicom_DumpLen(headerSize + imageSize);
    }

    // Compressed: counted at its decompressed size, always 16 bits a sample.
    const unsigned int compressedSize = EncodedValueLength(*compressed);
    const unsigned int headerSize = total - compressedSize;
    const Dicom_US rows = ValueOf(msg, kRows, US_NULL);
    if (rows == US_NULL) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
            KvlGLog.Log("compute_single_msg_len: rows tag not found. Can't calculate image size.\n");
        return Dicom_DumpLen(false);
    }
    const Dicom_US columns = ValueOf(msg, kColumns, US_NULL);
    if (columns == US_NULL) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
            KvlGLog.Log("compute_single_msg_len: columns tag not found. Can't calculate image size.\n");
        return Dicom_DumpLen(false);
    }
    const Dicom_IS numberOfFrames = ValueOf(msg, kNumberOfFrames, IS_NULL);
    const int frames = numberOfFrames == IS_NULL ? 1 : static_cast<int>(numberOfFrames);
    if (samples == US_NULL) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
            KvlGLog.Log(
                "compute_single_msg_len: samples per pixel tag not found. Can't calculate image size.\n");
        return Dicom_DumpLen(false);
    }
    if (photometric == CS_NULL) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
            KvlGLog.Log(
                "compute_single_msg_len: photometric intepertation tag not found. Can't calculate image size.\n");
        return Dicom_DumpLen(false);
    }
    if (sopClass == UI_NULL) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
            KvlGLog.Log("compute_single_msg_len: sop class uid tag not found. Can't calculate image size.\n");
        return Dicom_DumpLen(false);
    }
    int samplesPerPixel = static_cast<unsigned short>(samples);
    if (photometric == IOD_Image::PALETTE_COLOR && sopClass == Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE)
        samplesPerPixel = 3;
    const int rowCount = static_cast<unsigned short>(rows);
    const int columnCount = static_cast<unsigned short>(columns);
    if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
        KvlGLog.Log(
            "compute_single_msg_len: compressed: Rows=%d; Columns=%d; NumberOfFrames=%d;BitsAllocated=%d; SampelsPerPixel=%d\n",
            rowCount, columnCount, frames, 16, samplesPerPixel);
    // 32-bit arithmetic that wraps, as every size here.
    const unsigned int imageSize =
        static_cast<unsigned int>(samplesPerPixel) * static_cast<unsigned int>(frames) *
        static_cast<unsigned int>(columnCount) * static_cast<unsigned int>(rowCount) * 2u;
    if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
        KvlGLog.Log("compute_single_msg_len: compressed: image size = %u; header size = %u\n", imageSize,
                    headerSize);
    return Dicom_DumpLen(headerSize + imageSize);
}

Dicom_DumpLen IOD_Msg::CalcMsgLength(Dicom_UI transferSyntax) {
    static const char* const kFunction = "IOD_Msg::CalcMsgLength";
    unsigned int result = 0;
    Dicom_CS imageTypeCopy, modalityCopy;
    const Dicom_CS& imageType = ValueIn(*this, kImageType, CS_NULL, imageTypeCopy);
    const Dicom_CS& modality = ValueIn(*this, kModality, CS_NULL, modalityCopy);

    if (modality == IOD_Image::PR || modality == IOD_Image::SR || modality == IOD_Image::KO) {
        // Presentation states, reports and key-object selections are sent as they are.
        result = GetDumpLen(transferSyntax, 0, LengthParameters(), nullptr).GetDumpLen();
    } else if (imageType != CS_NULL && imageType.GetVM() >= 3 && imageType[2] == IOD_Image::MULTIFORMAT) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("CalcMsgLength: image type is Multi Format.\n");
        const Dicom_DumpLen whole = GetDumpLen(transferSyntax, 0, LengthParameters(), nullptr);
        if (!whole.IsValid() && KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
            KvlGLog.Log("CalcMsgLength: Message length is 0\n");
        const unsigned int msgLen = whole.GetDumpLen();
        const Dicom_Type* found = Get(Dicom_Dictionary::QUORVEX1_MULTI_FORMAT_SEQUENCE);
        const Dicom_SQ& images = found != nullptr && found->GetVR() == Dicom_VR::SQ
                                     ? *static_cast<const Dicom_SQ*>(found)
                                     : static_cast<const Dicom_SQ&>(SQ_NULL);
        const unsigned int imagesLen = images.GetDumpLen(transferSyntax).GetDumpLen();
        const unsigned int headerSize = msgLen - imagesLen;
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("CalcMsgLength: msg_len=%u; images_len=%u, header_size=%u\n", msgLen, imagesLen,
                        headerSize);
        for (int i = 0; i < images.GetNItems(); ++i) {
            Dicom_Msg* item = images.GetItem(i);
            const Dicom_DumpLen single =
                item != nullptr ? compute_single_msg_len(*item, transferSyntax) : Dicom_DumpLen(false);
            if (!single.IsValid()) {
                if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
                    KvlGLog.Log("CalcMsgLength(): Error int message length calculations.\n");
                return Dicom_DumpLen(false);
            }
            result += single.GetDumpLen();
        }
        result += headerSize;
    } else {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("CalcMsgLength: not a Multi_Format image. Calculate the single image size.\n");
        const Dicom_DumpLen single = compute_single_msg_len(*this, transferSyntax);
        if (!single.IsValid()) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
                KvlGLog.Log("CalcMsgLength(): Error int message length calculations.\n");
            return Dicom_DumpLen(false);
        }
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
            KvlGLog.Log("CalcMsgLength: msg_len=%u\n", single.GetDumpLen());
        // The single-image size is validated and logged only: the result keeps just the
        // allowance below. Callers depend on this figure as it is.
    }

    // Room for the private message-length element when the message does not carry it yet.
    if (ValueOf(*this, Dicom_Dictionary::KOVEL_MSG_LENGTH, UL_NULL) == UL_NULL) result += 12;
    if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
        KvlGLog.Log("CalcMsgLength: MsgLength is %u bytes.\n", result);
    return Dicom_DumpLen(result);
}

// ---------------------------------------------------------------------------------------------
// SOP common module, identity masking, frame vectors

int IOD_Msg::SetSopCommonModule(const Dicom_UI& sopClass, int newInstance) {
    static const char* const kFunction = "IOD_Msg::SetSopCommonModule";
    Dicom_UI sopClassValue(sopClass);
    if (Set(kSopClassUid, &sopClassValue) != 0) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
            KvlGLog.Log("SetSopCommonModule(): Failed setting new sop.\n");
        return -1;
    }
    if (newInstance != 0) {
        Dicom_UI instance = UidGenerator().Generate();
        if (Set(kSopInstanceUid, &instance) != 0) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
                KvlGLog.Log("set_sop_common_module(): Failed setting new sop.\n");
            return -1;
        }
    }
    Dicom_DA date = Dicom_DA::GetCurrentDate();
    if (Set(kInstanceCreationDate, &date) != 0) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
            KvlGLog.Log("set_sop_common_module: Can't set INSTANCE_CREATION_DATE in dicom_msg\n");
        return -1;
    }
    Dicom_TM time = Dicom_TM::GetTickCount();
    if (Set(kInstanceCreationTime, &time) != 0) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
            KvlGLog.Log("set_sop_common_module: Can't set INSTANCE_CREATION_TIME in dicom_msg\n");
        return -1;
    }
    return 0;
}

int IOD_Msg::HideClassifideDetailes() {
    static const char* const kFunction = "IOD_Msg::HideClassifideDetailes";
    const Dicom_PN name = ValueOf(*this, kPatientsName, PN_NULL);
    if (name != PN_NULL) {
        Dicom_PN initials = name.GetInitials();
        if (Set(kPatientsName, &initials) != 0) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
                KvlGLog.Log("HideClassifideDetailes: Can't hide patient's name.\n");
            return -1;
        }
    }
    const Dicom_LO id = ValueOf(*this, kPatientId, LO_NULL);
    if (id != LO_NULL) {
        Dicom_LO encoded = id.GetEncoded();
        if (Set(kPatientId, &encoded) != 0) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
                KvlGLog.Log("can't hide patient ID\n");
            return -1;
        }
    }
    return 0;
}

void IOD_Msg::ReduceFrameIncrementPointerVector(int frame) {
    static const char* const kFunction = "IOD_Msg::ReduceFrameIncrementPointerVector";
    if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 7, kCategory, 1))
        KvlGLog.Log("In ReduceFrameIncrementPointerVector().\n");
    if (frame < 1) {
        if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
            KvlGLog.Log(
                "ReduceFrameIncrementPointerVector() - frame number should be greater than 0 (current value is %d).\n",
                frame);
        return;
    }
    const Dicom_AT pointers = ValueOf(*this, kFrameIncrementPointer, At_NULL);
    if (pointers == At_NULL) return;

    int index = frame - 1;
    int valueCount = 0;
    for (int p = 0; p < pointers.Count(); ++p) {
        const Dicom_Tag tag = pointers.GetTag(p);
        const Dicom_Type* value = Get(tag);
        if (value == nullptr) {
            if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 6, kCategory, 1))
                KvlGLog.Log("IOD_Msg::reduce_vectors- Failed to get tag from IodMsg group= %x, element=%x\n",
                            tag.GetGroup(), tag.GetElement());
            continue;
        }
        // Once a single-valued vector has been met, this and every later one keep their first
        // value: the count and the index carry over from pointer to pointer.
        if (value->GetKind() == DICOM_KIND_MULTI_VALUED) valueCount = value->GetVM();
        if (valueCount == 1) index = 0;
        switch (value->GetVR()) {
#define IOD_REDUCE_VR(VR)                                \
    case Dicom_VR::VR:                                   \
        ReduceTo<Dicom_##VR>(*this, tag, *value, index); \
        break;
            IOD_REDUCE_VR(DS)
            IOD_REDUCE_VR(US)
            IOD_REDUCE_VR(SS)
            IOD_REDUCE_VR(CS)
            IOD_REDUCE_VR(LO)
            IOD_REDUCE_VR(FL)
            IOD_REDUCE_VR(UI)
            IOD_REDUCE_VR(UL)
            IOD_REDUCE_VR(SL)
            IOD_REDUCE_VR(IS)
#undef IOD_REDUCE_VR
            default:
                if (KvlGLog.StoreParams(kLogFile, kFunction, __LINE__, 3, kCategory, 1))
                    KvlGLog.Log("IOD_Msg::reduce_vectors() - unsupported VR : <%s>.\n", value->GetVRName());
                break;
        }
    }
    Remove(kFrameIncrementPointer);
}
