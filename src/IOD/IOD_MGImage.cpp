// IOD_MGImage: constructors.
#include <IOD/IOD_MGImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_MGImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_MGImage, IOD_Image)
