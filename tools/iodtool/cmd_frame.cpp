// iodtool frame: write one frame of a multi-frame object as a single-frame object.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_SQ.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage = "usage: iodtool frame <in> <out> <N>\n";
constexpr Dicom_Tag kPixelData{0x7FE00010u};
constexpr Dicom_Tag kExtendedOffsetTable{0x7FE00001u};
constexpr Dicom_Tag kExtendedOffsetTableLengths{0x7FE00002u};
constexpr Dicom_Tag kPerFrameFunctionalGroups{0x52009230u};

uint32_t ReadU32(const unsigned char* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
// An item header (FFFE,E000) of `length` bytes, then the bytes.
void AppendItem(std::vector<unsigned char>& out, const unsigned char* data, uint32_t length) {
    for (const unsigned char b : {0xFE, 0xFF, 0x00, 0xE0}) out.push_back(b);
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<unsigned char>(length >> shift));
    if (length == 0) return;
    const size_t at = out.size();
    out.resize(at + length);
    std::memcpy(out.data() + at, data, length);
}

// Bytes of one frame of native pixel data: rows x columns x samples x bits allocated, where the
// 4:2:2 colour models carry two samples a pixel. Empty, with *error set, when they cannot be cut.
bool NativeFrame(const IOD_Msg& msg, const Dicom_OtherType& pixels, int frames, int n,
                 std::vector<unsigned char>* frame, std::string* error) {
    const uint64_t rows = static_cast<unsigned short>(msg.GetRows());
    const uint64_t columns = static_cast<unsigned short>(msg.GetColumns());
    const uint64_t bits = static_cast<unsigned short>(msg.GetBitsAllocated());
    uint64_t samples =
        msg.GetSamplesPerPixel() == US_NULL ? 1 : static_cast<unsigned short>(msg.GetSamplesPerPixel());
    const std::string photometric = msg.GetPhotometricInterpretation().GetValue(0);
    if (photometric == "YBR_FULL_422" || photometric == "YBR_PARTIAL_422") samples = 2;
    const uint64_t frameBits = rows * columns * samples * bits;
    if (frameBits == 0) {
        *error = "Rows, Columns or Bits Allocated is missing or 0";
        return false;
    }
    if (frameBits % 8 != 0) {
        *error = "its frames do not start on a byte boundary (" + std::to_string(bits) + " bit(s) allocated)";
        return false;
    }
    const uint64_t frameBytes = frameBits / 8;
    if (frameBytes * static_cast<uint64_t>(frames) > pixels.GetRawLen()) {
        *error = "the pixel data holds " + std::to_string(pixels.GetRawLen()) + " bytes, not the " +
                 std::to_string(frameBytes * static_cast<uint64_t>(frames)) + " that " +
                 std::to_string(frames) + " frames need";
        return false;
    }
    // Words are kept in host order: a frame of OW must be whole words.
    if (pixels.GetVR() == Dicom_VR::OW && frameBytes % 2 != 0) {
        *error =
            "its frames of " + std::to_string(frameBytes) + " bytes split the 16-bit words of OW pixel data";
        return false;
    }
    const unsigned char* start = pixels.GetData() + frameBytes * static_cast<uint64_t>(n - 1);
    frame->assign(start, start + frameBytes);
    return true;
}

// The items of one frame of encapsulated pixel data, behind an empty offset table. The frame's
// fragments are known from the basic offset table, or when there is one fragment per frame.
bool EncapsulatedFrame(const Dicom_OtherType& pixels, int frames, int n, std::vector<unsigned char>* frame,
                       std::string* error) {
    const Dicom_EncapsulatedData items = pixels.GetEncapsulatedData();
    if (!items.valid || items.fragments.empty()) {
        *error = "its encapsulated pixel data has no fragments, or damaged items";
        return false;
    }
    const unsigned char* data = pixels.GetData();
    size_t first = 0, last = 0;  // fragments [first, last)
    const uint32_t offsets = items.offsetTable.length / 4;
    if (frames == 1) {
        last = items.fragments.size();
    } else if (offsets != 0) {
        if (offsets != static_cast<uint32_t>(frames) || items.offsetTable.length % 4 != 0) {
            *error = "its offset table has " + std::to_string(offsets) + " entries for " +
                     std::to_string(frames) + " frames";
            return false;
        }
        // Offsets count from the first fragment's item header.
        const uint32_t base = items.fragments[0].offset - 8;
        auto offsetOf = [&](size_t k) { return items.fragments[k].offset - 8 - base; };
        const uint32_t begin = ReadU32(data + items.offsetTable.offset + 4u * static_cast<uint32_t>(n - 1));
        const bool lastFrame = n == frames;
        const uint32_t end =
            lastFrame ? UINT32_MAX : ReadU32(data + items.offsetTable.offset + 4u * static_cast<uint32_t>(n));
        first = items.fragments.size();
        for (size_t k = 0; k < items.fragments.size(); ++k) {
            if (offsetOf(k) == begin && first == items.fragments.size()) first = k;
            if (first != items.fragments.size() && (lastFrame || offsetOf(k) < end)) last = k + 1;
        }
        if (first == items.fragments.size() || last <= first || (!lastFrame && end <= begin)) {
            *error = "its offset table does not point at the fragments of frame " + std::to_string(n);
            return false;
        }
    } else if (items.fragments.size() == static_cast<size_t>(frames)) {
        first = static_cast<size_t>(n - 1);
        last = first + 1;
    } else {
        *error = "which fragments hold frame " + std::to_string(n) + " is not known: no offset table, and " +
                 std::to_string(items.fragments.size()) + " fragments for " + std::to_string(frames) +
                 " frames";
        return false;
    }
    frame->clear();
    AppendItem(*frame, nullptr, 0);
    for (size_t k = first; k < last; ++k)
        AppendItem(*frame, data + items.fragments[k].offset, items.fragments[k].length);
    return true;
}

int RunFrame(int argc, char** argv) {
    if (argc != 4) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    errno = 0;
    char* end = nullptr;
    const long n = std::strtol(argv[3], &end, 10);
    if (end == argv[3] || *end != '\0' || errno != 0 || n < 1 || n > 0x7FFFFFFF) {
        std::fprintf(stderr, "iodtool frame: the frame number must be a whole number from 1, not '%s'\n%s",
                     argv[3], kUsage);
        return 2;
    }
    const int frame = static_cast<int>(n);

    std::vector<unsigned char> bytes;
    std::unique_ptr<IOD_Msg> msg = IodLoadMessage("frame", argv[1], bytes);
    if (!msg) return 1;
    const bool hasFrameCount = msg->GetNumberOfFrames() != IS_NULL;
    const int frames = hasFrameCount ? static_cast<int>(msg->GetNumberOfFrames()) : 1;
    if (frames < 1 || frame > frames) {
        std::fprintf(stderr, "iodtool frame: %s: has %d frame(s); there is no frame %d\n", argv[1], frames,
                     frame);
        return 1;
    }
    const Dicom_ME* element = msg->Find(kPixelData, false);
    const auto* pixels =
        element != nullptr ? dynamic_cast<const Dicom_OtherType*>(element->GetData()) : nullptr;
    if (pixels == nullptr || pixels->IsEmpty()) {
        std::fprintf(stderr, "iodtool frame: %s: has no pixel data\n", argv[1]);
        return 1;
    }
    std::vector<unsigned char> frameBytes;
    std::string error;
    const bool encapsulated = pixels->IsEncapsulated();
    if (!(encapsulated ? EncapsulatedFrame(*pixels, frames, frame, &frameBytes, &error)
                       : NativeFrame(*msg, *pixels, frames, frame, &frameBytes, &error))) {
        std::fprintf(stderr, "iodtool frame: %s: cannot cut frame %d: %s; nothing written\n", argv[1], frame,
                     error.c_str());
        return 1;
    }

    // The frame's pixel bytes, in a value of the same class.
    std::unique_ptr<Dicom_Type> value(pixels->Clone());
    if (value->SetRaw(frameBytes.data(), static_cast<uint32_t>(frameBytes.size())) != 0 ||
        msg->Set(kPixelData, value.get()) != 0) {
        std::fprintf(stderr, "iodtool frame: %s: the frame's pixel data cannot be stored; nothing written\n",
                     argv[1]);
        return 1;
    }
    // The per-frame attributes of frame N alone.
    msg->ReduceFrameIncrementPointerVector(frame);
    if (hasFrameCount) msg->SetNumberOfFrames(Dicom_IS(1));
    msg->Remove(kExtendedOffsetTable);
    msg->Remove(kExtendedOffsetTableLengths);
    const Dicom_Type* perFrame = msg->Get(kPerFrameFunctionalGroups);
    if (perFrame != nullptr && perFrame->GetVR() == Dicom_VR::SQ &&
        static_cast<const Dicom_SQ*>(perFrame)->GetNItems() == frames) {
        Dicom_SQ single;
        single.AddItem(new Dicom_Msg(*static_cast<const Dicom_SQ*>(perFrame)->GetItem(frame - 1)));
        msg->Set(kPerFrameFunctionalGroups, &single);
    }
    return IodSaveMessage("frame", *msg, msg->GetWriteTransferSyntax(), IodIsFileImage(bytes), argv[2]) ? 0
                                                                                                        : 1;
}

}  // namespace

IODTOOL_COMMAND(
    "frame", "frame <in> <out> <N>",
    "Write frame N (from 1) of a multi-frame object as a single-frame object: the vectors named by "
    "Frame Increment Pointer reduced to frame N (ReduceFrameIncrementPointerVector), Number of "
    "Frames 1, the Per-frame Functional Groups Sequence reduced to frame N's item, and the frame's "
    "own pixel bytes (native data: its slice; encapsulated data: its fragments, found through the "
    "basic offset table or one fragment per frame, otherwise exit 1). The transfer syntax and every "
    "other attribute, SOP Instance UID included, are kept.",
    RunFrame)
