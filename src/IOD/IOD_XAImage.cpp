// IOD_XAImage: constructors and IsValid.
#include <IOD/IOD_XAImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_XAImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_XAImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_XAImage, IOD_Image)

// Cine, mask, X-ray image, acquisition and table, XA positioner, multi-frame overlay and
// modality LUT accept every message; they stand at their places all the same.
int IOD_XAImage::IsValid() const {
    return IOD_AllChecksPassed(
        {IsPatientModuleValid(), IsGeneralStudyModuleValid(), IsGeneralSeriesModuleValid(),
         IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(), IsImagePixelModuleValid(),
         IsCineModuleValid(), IsMultiFrameModuleValid(), IsMaskModuleValid(), IsXRayImageModuleValid(),
         IsXRayAcquisitionModuleValid(), IsXRayTableModuleValid(), IsXAPositionerModuleValid(),
         IsMultiFrameOverlayModuleValid(), IsModalityLUTModuleValid(), IsSOPCommonModuleValid()});
}
