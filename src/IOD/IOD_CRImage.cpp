// IOD_CRImage: constructors and IsValid.
#include <IOD/IOD_CRImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_CRImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_CRImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_CRImage, IOD_Image)

int IOD_CRImage::IsValid() const {
    return IOD_AllChecksPassed({IsPatientModuleValid(), IsGeneralStudyModuleValid(),
                                IsGeneralSeriesModuleValid(), IsCRSeriesModuleValid(),
                                IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(),
                                IsImagePixelModuleValid(), IsCRImageModuleValid(), IsSOPCommonModuleValid()});
}
