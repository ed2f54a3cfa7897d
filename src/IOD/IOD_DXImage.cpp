// IOD_DXImage: constructors.
#include <IOD/IOD_DXImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_DXImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_DXImage, IOD_Image)
