// IOD_VLImage: constructors.
#include <IOD/IOD_VLImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_VLImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_VLImage, IOD_Image)
