// IOD_StructuredReporting: the structured report document IOD.
//
// IsValid checks nothing (always 1); the SR document checks are separate members.
#pragma once

#include <IOD/IOD_Image.h>

class IOD_StructuredReporting : public IOD_Image {
public:
    IOD_StructuredReporting();
    IOD_StructuredReporting(const IOD_StructuredReporting& other);
    IOD_StructuredReporting(void* buffer, unsigned int length, int copy, int* status);
    IOD_StructuredReporting(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax,
                            int* status);
    IOD_StructuredReporting(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid,
                            int* status);
    ~IOD_StructuredReporting() override;
    // Not assignable: copy-construct instead.
    IOD_StructuredReporting& operator=(const IOD_StructuredReporting&) = delete;

    // Image coordinates: accepts every message.
    int IsImageCoordinatesValid() const { return 1; }
};
