// IOD_SessionHeapMsg: allocation on the private heap and construction over a buffer.
#include <IOD/IOD_SessionHeapMsg.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <gtest/gtest.h>

#include "IodTestSupport.h"

TEST(IODSessionHeapMsg, LivesOnThePrivateHeapAndDetectsTheSyntax) {
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    for (auto kind :
         {Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN, Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN}) {
        const Kvl_PrivateHeap::Stats before = heap->GetStats();
        std::vector<unsigned char> bytes = EncodedSample(kind);
        int status = -5;
        LogRecorder log(7);
        IOD_Msg* msg = new IOD_SessionHeapMsg(bytes.data(), static_cast<unsigned int>(bytes.size()), 0,
                                              &status, Dicom_SwapInfo::FROM_MEMORY);
        EXPECT_EQ(heap->GetStats().allocations, before.allocations + 1);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(msg->GetTransferSyntax().GetKind(), kind);
        EXPECT_EQ(msg->GetPatientsName(), Dicom_PN("Doe^Jane"));
        ASSERT_FALSE(log.records.empty());
        EXPECT_EQ(log.records[0].text.rfind("constructor 0x", 0), 0u);
        delete msg;  // through the base: the class's operator delete still applies
        EXPECT_EQ(heap->GetStats().frees, before.frees + 1);
        EXPECT_EQ(heap->GetStats().bytesInUse, before.bytesInUse);
    }
    const Kvl_PrivateHeap::Stats before = heap->GetStats();
    void* block = IOD_SessionHeapMsg::operator new[](3 * sizeof(IOD_SessionHeapMsg));
    IOD_SessionHeapMsg::operator delete[](block);
    EXPECT_EQ(heap->GetStats().arrayAllocations, before.arrayAllocations + 1);
    EXPECT_EQ(heap->GetStats().arrayFrees, before.arrayFrees + 1);
}

TEST(IODSessionHeapMsg, MalformedBufferLeavesAUsableMessageAndAFailedStatus) {
    unsigned char junk[] = {0x10, 0x00, 0x10, 0x00, 'P', 'N', 0x7F, 0x00, 'D', 'o', 'e'};
    int status = 0;
    IOD_SessionHeapMsg msg(junk, sizeof junk, 1, &status, Dicom_SwapInfo::FROM_MEMORY);
    EXPECT_NE(status, 0);
    EXPECT_EQ(msg.SetRows(Dicom_US(2)), 0);
    EXPECT_EQ(static_cast<unsigned short>(msg.GetRows()), 2);
}
