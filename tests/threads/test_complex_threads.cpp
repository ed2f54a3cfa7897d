// Four threads edit composites of their own over one shared original (parsed without a copy): each
// thread's results equal a single-threaded run, and the original encodes as before.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Complex.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
constexpr int kThreads = 4;
constexpr int kIterations = 40;

Bytes EncodedOf(const Dicom_Msg& m) {
    Bytes out;
    m.Encode(out);
    return out;
}

// One thread's edit of a composite over `original`; the values depend on the thread.
Bytes Edit(const Kvl_AutoPtr<IOD_Msg>& original, int thread, std::string* error) {
    // A pointer of this thread's own: the rings of Kvl_AutoPtr are not shared between threads.
    IOD_Complex c{Kvl_AutoPtr<IOD_Msg>(original.get(), Kvl_AutoPtr<IOD_Msg>::DoesNotOwn)};
    const std::string tag = "T" + std::to_string(thread);
    c.SetAccessionNumber(Dicom_SH(tag.c_str()));
    c.SetRows(Dicom_US(static_cast<unsigned short>(256 + thread)));
    c.SetMsgLength(Dicom_UL(static_cast<unsigned>(thread)));  // a creator reserved in the layer
    c.SetImageLabel(Dicom_SH(tag.c_str()));                   // the original's block reused
    c.SetStudyDescription(Dicom_LO(L"Étude"));                // charset fixed for the new value
    c.RemovePatientID();
    c.Remove(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL);
    c.SetRows_i(thread, Dicom_US(2));
    if (c.Find(Dicom_Tag(0x0010, 0x0020)) != nullptr) *error = "removed tag still found";
    if (c.GetAccessionNumber() != Dicom_SH(tag.c_str())) *error = "layer value not read back";
    Bytes encoded = EncodedOf(c);
    Kvl_AutoPtr<Dicom_Msg> real = c.ConstructRealMsg();
    if (!real || EncodedOf(*real) != encoded) *error = "ConstructRealMsg differs from the composite";
    return encoded;
}

}  // namespace

TEST(ComplexThreads, CompositesOverOneSharedOriginal) {
    IOD_Msg source;
    Dicom_CS latin1("ISO_IR 100");
    source.Set(Dicom_Tag(0x0008, 0x0005), &latin1);
    source.SetPatientsName(Dicom_PN(L"Müller^Hans"));
    source.SetPatientID(Dicom_LO("P-1"));
    source.SetImageLabel(Dicom_SH("label"));
    std::vector<unsigned char> pixels(4096, 7);
    source.SetPixelData(Dicom_OW(pixels.data(), static_cast<unsigned>(pixels.size()), 1, nullptr));
    Bytes file;
    ASSERT_EQ(source.Encode(file, Dicom_TransferSyntax(), true), 0);
    int status = -1;
    Kvl_AutoPtr<IOD_Msg> original(new IOD_Msg(file.data(), static_cast<unsigned>(file.size()), 0, &status));
    ASSERT_EQ(status, 0);
    const Bytes before = EncodedOf(*original);

    std::vector<Bytes> reference(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        std::string error;
        reference[static_cast<size_t>(t)] = Edit(original, t, &error);
        ASSERT_EQ(error, "");
    }
    std::vector<std::string> errors(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < kIterations && errors[static_cast<size_t>(t)].empty(); ++i)
                if (Edit(original, t, &errors[static_cast<size_t>(t)]) != reference[static_cast<size_t>(t)])
                    errors[static_cast<size_t>(t)] = "encoding differs from the single-threaded run";
        });
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(errors[static_cast<size_t>(t)], "") << "thread " << t;
    EXPECT_EQ(EncodedOf(*original), before);
}
