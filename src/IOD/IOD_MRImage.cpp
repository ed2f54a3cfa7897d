// IOD_MRImage: constructors and IsValid.
#include <IOD/IOD_MRImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_MRImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_MRImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_MRImage, IOD_Image)
IOD_DEFINE_ASSIGNMENT(IOD_MRImage)

int IOD_MRImage::IsValid() const {
    return IOD_AllChecksPassed({IsPatientModuleValid(), IsGeneralStudyModuleValid(),
                                IsGeneralSeriesModuleValid(), IsFrameModuleValid(),
                                IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(),
                                IsImagePlaneModuleValid(), IsImagePixelModuleValid(), IsMRImageModuleValid(),
                                IsSOPCommonModuleValid()});
}
