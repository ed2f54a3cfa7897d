// GetFileDumpLen equals what Encode(out, syntax, true) writes, and is invalid exactly when that
// write fails (encapsulated data in a native syntax, native data under a compressed UID, unknown).
#include <Dicom/Dicom_Msg.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_codec_builder.h"

TEST(FileDumpLen, EqualsTheFileImageEncodeWritesInEverySyntax) {
    const Dicom_TransferSyntax syntaxes[] = {
        Dicom_TransferSyntax(),
        Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN),
        Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN),
        Dicom_TransferSyntax(Dicom_TransferSyntax::DEFLATED_EXPLICIT_LITTLE_ENDIAN),
        Dicom_TransferSyntax("1.2.840.10008.1.2.5"),
        Dicom_TransferSyntax("1.2.3.4")};
    int measured = 0, refused = 0;
    for (const char* name :
         {"CT_small.dcm", "MR_small_bigendian.dcm", "rtplan.dcm", "image_dfl.dcm", "JPEG2000.dcm",
          "no_meta.dcm", "SC_rgb_rle.dcm", "nested_priv_SQ.dcm", "UN_sequence.dcm"}) {
        auto bytes = testbytes::ReadFile(testbytes::PydicomFile(name));
        if (bytes.empty()) GTEST_SKIP() << "pydicom test files not installed";
        int status = 0;
        Dicom_Msg msg(bytes.data(), bytes.size(), 0, &status);
        for (const Dicom_TransferSyntax& syntax : syntaxes) {
            SCOPED_TRACE(std::string(name) + " in " + syntax.GetUID());
            std::vector<unsigned char> out;
            const bool written = msg.Encode(out, syntax, true) == 0;
            const Dicom_DumpLen length = msg.GetFileDumpLen(syntax);
            ASSERT_EQ(length.IsValid(), written);
            EXPECT_EQ(written ? length.GetDumpLen() : 0u, out.size() * written);
            ++(written ? measured : refused);
        }
    }
    EXPECT_GT(measured, 30);
    EXPECT_GT(refused, 10);
}
