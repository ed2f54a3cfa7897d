// IOD_IOD: constructors, assignment and the SOP common module.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_IOD.h>

#include "IOD_ClassSupport.h"
#include "IOD_ValidatorSupport.h"

int IOD_IOD::IsTolerant = 0;

IOD_IOD::IOD_IOD() : IOD_Msg() {}
IOD_IOD::IOD_IOD(const IOD_IOD& other) : IOD_Msg(other) {}
IOD_IOD::IOD_IOD(void* buffer, unsigned int length, int copy, int* status)
    : IOD_Msg(buffer, length, copy, status) {}
IOD_IOD::IOD_IOD(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status)
    : IOD_Msg(buffer, length, copy, syntax, status) {}
IOD_IOD::IOD_IOD(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status)
    : IOD_Msg(buffer, length, copy, transferSyntaxUid, status, false, false) {}
IOD_IOD::~IOD_IOD() = default;

IOD_DEFINE_ASSIGNMENT(IOD_IOD)

void IOD_IOD::assign_message(const IOD_Msg& other) {
    // Deliberately the DICOM layer's assignment alone, not IOD_Msg's.
    Dicom_Msg::operator=(static_cast<const Dicom_Msg&>(other));
}

int IOD_IOD::IsValid() const { return 1; }

#define IOD_SOURCE "src/IOD/IOD_IOD"

int IOD_IOD::IsSOPCommonModuleValid() const {
    static constexpr const char* kFunction = "IOD_IOD::IsSOPCommonModuleValid";
    int result = 1;
    IOD_CHECK_VALUE(Dicom_UI, Dicom_Dictionary::SOP_CLASS_UID,
                    "IsSOPCommonModuleValid: SOP Class UID is not valid\n");
    IOD_CHECK_VALUE(Dicom_UI, Dicom_Dictionary::SOP_INSTANCE_UID,
                    "IsSOPCommonModuleValid: SOP Instance UID is not valid\n");
    return IOD_Verdict(result);
}
