// IOD_IOImage: constructors.
#include <IOD/IOD_IOImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_IOImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_IOImage, IOD_Image)
