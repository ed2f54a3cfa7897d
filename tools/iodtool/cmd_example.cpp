// iodtool example: the library at work end to end, on a data set the tool builds itself.
//
// It writes a small CT image by attribute name (standard, overlay-group and private
// attributes), encodes it as a file image, parses the bytes again, reads attributes back by
// name and prints the dump of what was parsed. With a file argument the encoded image is also
// written there, so it can be read with `iodtool dump` or any other DICOM tool.
#include <Dicom/Dicom_UIDGenerator.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_Msg.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Command.h"
#include "DumpFormat.h"
#include "FileBytes.h"

namespace {

void BuildImage(IOD_Msg& msg) {
    constexpr unsigned short kRows = 16;
    constexpr unsigned short kColumns = 16;
    Dicom_UIDGenerator uids;

    msg.SetSOPClassUID(Dicom_UIDic::CT_IMAGE_STORAGE);
    msg.SetSOPInstanceUID(uids.Generate());
    msg.SetStudyInstanceUID(uids.Generate());
    msg.SetSeriesInstanceUID(uids.Generate());
    msg.SetImageType(Dicom_CS("ORIGINAL\\PRIMARY\\AXIAL"));
    msg.SetModality(Dicom_CS("CT"));
    msg.SetStudyDate(Dicom_DA::GetCurrentDate());
    msg.SetPatientsName(Dicom_PN("DOE^JOHN"));
    msg.SetPatientID(Dicom_LO("PID-0001"));
    msg.SetSamplesPerPixel(Dicom_US(1));
    msg.SetPhotometricInterpretation(Dicom_CS("MONOCHROME2"));
    msg.SetRows(Dicom_US(kRows));
    msg.SetColumns(Dicom_US(kColumns));
    msg.SetBitsAllocated(Dicom_US(16));
    msg.SetBitsStored(Dicom_US(12));
    msg.SetHighBit(Dicom_US(11));
    msg.SetPixelRepresentation(Dicom_US(0));
    msg.SetWindowCenter(Dicom_DS("40\\400"));
    msg.SetWindowWidth(Dicom_DS("350\\2000"));

    // A graphic overlay in repeating group 1 (6002) and a text overlay's private string in the
    // overlay family's private group, reserved for its creator on first write.
    msg.SetRows_i(1, Dicom_US(kRows));
    msg.SetColumns_i(1, Dicom_US(kColumns));
    msg.SetOverlayType_i(1, Dicom_CS("G"));
    msg.SetBitsAllocated_i(1, Dicom_US(1));
    msg.SetTextOverlayString_i(0, Dicom_LO("RIGHT"));
    msg.SetMsgLength(Dicom_UL(0));

    std::vector<unsigned short> pixels(size_t{kRows} * kColumns);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned short>((i * 37) % 4096);
    msg.SetPixelData(Dicom_OW(pixels.data(), static_cast<unsigned int>(pixels.size() * 2), 1, nullptr));
}

int RunExample(int argc, char** argv) {
    if (argc > 2) {
        std::fprintf(stderr, "usage: iodtool example [out.dcm]\n");
        return 2;
    }
    IOD_Msg built;
    BuildImage(built);

    std::vector<unsigned char> bytes;
    const Dicom_TransferSyntax explicitLittle(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    if (built.Encode(bytes, explicitLittle, true) != 0) {
        std::fprintf(stderr, "iodtool example: encoding failed\n");
        return 1;
    }
    const Dicom_DumpLen predicted = built.GetDumpLen(explicitLittle);
    std::printf("built %d elements; encoded file image: %zu bytes (data set predicted %u bytes)\n",
                built.GetNElements(), bytes.size(), predicted.GetDumpLen());
    if (argc == 2) {
        std::string error;
        if (!IodWriteFileAtomically(argv[1], bytes, &error)) {
            std::fprintf(stderr, "iodtool example: %s\n", error.c_str());
            return 1;
        }
        std::printf("written to %s\n", argv[1]);
    }

    int status = 0;
    IOD_Msg parsed(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    if (status != 0) {
        std::fprintf(stderr, "iodtool example: the encoded image did not parse\n");
        return 1;
    }
    std::printf("parsed back: status %d, %d elements\n", status, parsed.GetNElements());
    std::printf(
        "by name: PatientsName=%s Rows=%u Columns=%u WindowCenter[1]=%g OverlayType_i(1)=%s "
        "TextOverlayString_i(0)=%s\n",
        parsed.GetPatientsName().ToString().c_str(), static_cast<unsigned>(parsed.GetRows()),
        static_cast<unsigned>(parsed.GetColumns()), static_cast<double>(parsed.GetWindowCenter()[1]),
        parsed.GetOverlayType_i(1).ToString().c_str(), parsed.GetTextOverlayString_i(0).ToString().c_str());
    std::printf("absent attribute reads as its null constant: %s\n",
                parsed.GetAccessionNumber() == SH_NULL ? "yes" : "no");

    std::string dump;
    IodDumpMessage(parsed, IodDumpOptions{}, dump);
    std::printf("\n%s", dump.c_str());
    return 0;
}

}  // namespace

IODTOOL_COMMAND("example", "example [out.dcm]",
                "Build a CT image by attribute name, encode it, parse it again and dump it.", RunExample);
