// The validators over the public corpus (Debian's python3-pydicom files): every class judges
// every file without a fault, and the CT image of the corpus is a valid CT image.
#include <IOD/IOD_CRImage.h>
#include <IOD/IOD_CTImage.h>
#include <IOD/IOD_DXImage.h>
#include <IOD/IOD_MRImage.h>
#include <IOD/IOD_NMImage.h>
#include <IOD/IOD_RFImage.h>
#include <IOD/IOD_USImage.h>
#include <IOD/IOD_XAImage.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ValidatorTestSupport.h"

namespace {

const std::filesystem::path kCorpus = "/usr/lib/python3/dist-packages/pydicom/data/test_files";

std::vector<unsigned char> ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

TEST(ValidatorsOnCorpus, EveryClassJudgesEveryFile) {
    if (!std::filesystem::is_directory(kCorpus)) GTEST_SKIP() << "python3-pydicom is not installed";
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kCorpus)) {
        if (entry.path().extension() != ".dcm") continue;
        SCOPED_TRACE(entry.path().filename().string());
        std::vector<unsigned char> bytes = ReadFile(entry.path());
        void* data = bytes.data();
        const auto length = static_cast<unsigned int>(bytes.size());
        int status = 0;
        DefectRecorder log;  // keeps the defects off the console
        const int verdicts[] = {
            IOD_CTImage(data, length, 0, &status).IsValid(), IOD_MRImage(data, length, 0, &status).IsValid(),
            IOD_CRImage(data, length, 0, &status).IsValid(), IOD_DXImage(data, length, 0, &status).IsValid(),
            IOD_NMImage(data, length, 0, &status).IsValid(), IOD_RFImage(data, length, 0, &status).IsValid(),
            IOD_USImage(data, length, 0, &status).IsValid(), IOD_XAImage(data, length, 0, &status).IsValid(),
        };
        for (int v : verdicts) EXPECT_TRUE(v == 0 || v == 1);
        ++files;
    }
    EXPECT_GT(files, 50);
}

TEST(ValidatorsOnCorpus, TheCorpusCTImageIsValid) {
    const std::filesystem::path path = kCorpus / "CT_small.dcm";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "python3-pydicom is not installed";
    std::vector<unsigned char> bytes = ReadFile(path);
    int status = -1;
    IOD_CTImage ct(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
    ASSERT_EQ(status, 0);
    DefectRecorder log;
    EXPECT_EQ(ct.IsValid(), 1);
    EXPECT_EQ(log.Defects(), std::vector<std::string>{});
    // as an MR image it lacks the MR attributes (dcmdump: of those it holds Scan Options only)
    EXPECT_EQ(IOD_MRImage(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status).IsValid(), 0);
    const std::string f = "IOD_Image::IsMRImageModuleValid: IsMRImageModuleValid: ";
    EXPECT_EQ(log.Defects(), (std::vector<std::string>{
                                 f + "Scanning Sequence is not valid", f + "Sequence Variant is not valid",
                                 f + "MR Acquisition Type is not found", f + "Echo Time is not found",
                                 f + "Echo Train Length is not found"}));
}
