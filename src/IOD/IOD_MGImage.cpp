// IOD_MGImage: constructors and IsValid.
#include <IOD/IOD_MGImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_MGImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_MGImage, IOD_Image)

// The shared body of the projection classes: no SOP common check.
int IOD_MGImage::IsValid() const { return IOD_ProjectionImageIsValid(*this); }
