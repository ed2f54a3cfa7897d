// IOD_USImage: constructors.
#include <IOD/IOD_USImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_USImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_USImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_USImage, IOD_Image)
