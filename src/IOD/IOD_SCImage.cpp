// IOD_SCImage: constructors; the default constructor writes the capture defaults.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_SCImage.h>
#include <Kvl/Kvl_Version.h>

#include <cstdlib>

#include "IOD_ClassSupport.h"

// A new secondary capture image: Conversion Type WSD ("PR"), the capture device manufacturer and
// model "Orvane", and the library version as the capture software version. A value the layer
// rejects is left unwritten; construction never fails for it.
IOD_SCImage::IOD_SCImage() : IOD_Msg(), IOD_Image() {
    Dicom_CS conversionType(IOD_Image::WSD);  // Set may adjust the character set of what it is given
    Set(Dicom_Dictionary::CONVERSION_TYPE, &conversionType);
    int status = 0;
    Dicom_LO manufacturer("Orvane", &status);
    if (status == -1) return;
    Set(Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_MANUFACTURER, &manufacturer);
    Dicom_LO model("Orvane", &status);
    Set(Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_MANUFACTURER_MODEL_NAME, &model);
    char* version = Kvl_Version().ToText();
    if (version != nullptr) {
        int versionStatus = 0;
        Dicom_LO software(version, &versionStatus);
        std::free(version);
        if (versionStatus == 0) Set(Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_SOFTWARE_VERSIONS, &software);
    }
}

IOD_DEFINE_COPY_AND_BUFFER_CONSTRUCTORS(IOD_SCImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_SCImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_SCImage, IOD_Image)
IOD_DEFINE_ASSIGNMENT(IOD_SCImage)
