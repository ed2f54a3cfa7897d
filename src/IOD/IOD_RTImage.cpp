// IOD_RTImage: constructors.
#include <IOD/IOD_RTImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_RTImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_RTImage, IOD_Image)
