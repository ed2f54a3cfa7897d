// IOD_NMImage: constructors and IsValid.
#include <IOD/IOD_NMImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_NMImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_NMImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_NMImage, IOD_Image)

int IOD_NMImage::IsValid() const {
    return IOD_AllChecksPassed(
        {IsPatientModuleValid(), IsGeneralStudyModuleValid(), IsGeneralSeriesModuleValid(),
         IsNMSeriesModuleValid(), IsGeneralEquipmentModuleValid(), IsGeneralImageModuleValid(),
         IsImagePixelModuleValid(), IsNMImagePixelModuleValid(), IsMultiFrameModuleValid(),
         IsNMMultiFrameModuleValid(), IsNMImageModuleValid(), IsNMIsotopeModuleValid(),
         IsNMDetectorModuleValid(), IsNMTOMOAcquisitionModuleValid(), IsNMMultigatedAcqusitionModuleValid(),
         IsNMPhaseModuleValid(), IsNMReconstructionModuleValid(), IsSOPCommonModuleValid()});
}
