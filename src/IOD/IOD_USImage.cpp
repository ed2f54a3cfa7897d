// IOD_USImage: constructors and IsValid.
#include <IOD/IOD_USImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_USImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_USImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_USImage, IOD_Image)

// US frame of reference, US image, modality LUT, curve identification and curve accept every
// message; they stand at their places all the same.
int IOD_USImage::IsValid() const {
    return IOD_AllChecksPassed(
        {IsPatientModuleValid(), IsGeneralStudyModuleValid(), IsGeneralSeriesModuleValid(),
         IsUSFrameOfReferenceModuleValid(), IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(),
         IsImagePixelModuleValid(), IsUSImageModuleValid(), IsModalityLUTModuleValid(),
         IsSOPCommonModuleValid(), IsCurveIdentificationModuleValid(), IsCurveModuleValid()});
}
