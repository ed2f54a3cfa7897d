// IOD_RFImage: constructors and IsValid.
#include <IOD/IOD_RFImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_RFImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_RFImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_RFImage, IOD_Image)

// Cine, mask, X-ray image and acquisition, multi-frame overlay and modality LUT accept every
// message; they stand at their places all the same.
int IOD_RFImage::IsValid() const {
    return IOD_AllChecksPassed(
        {IsPatientModuleValid(), IsGeneralStudyModuleValid(), IsGeneralSeriesModuleValid(),
         IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(), IsImagePixelModuleValid(),
         IsCineModuleValid(), IsMultiFrameModuleValid(), IsMaskModuleValid(), IsXRayImageModuleValid(),
         IsXRayAcquisitionModuleValid(), IsXRFTomoAcquisitionModuleValid(), IsMultiFrameOverlayModuleValid(),
         IsModalityLUTModuleValid(), IsSOPCommonModuleValid()});
}
