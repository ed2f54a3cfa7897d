// IOD_CTImage: constructors and IsValid.
#include <IOD/IOD_CTImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_CTImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_CTImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_CTImage, IOD_Image)
IOD_DEFINE_ASSIGNMENT(IOD_CTImage)

int IOD_CTImage::IsValid() const {
    return IOD_AllChecksPassed({IsPatientModuleValid(), IsGeneralStudyModuleValid(),
                                IsGeneralSeriesModuleValid(), IsFrameModuleValid(),
                                IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(),
                                IsImagePlaneModuleValid(), IsImagePixelModuleValid(), IsCTImageModuleValid(),
                                IsSOPCommonModuleValid()});
}
