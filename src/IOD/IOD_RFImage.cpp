// IOD_RFImage: constructors.
#include <IOD/IOD_RFImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_RFImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_RFImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_RFImage, IOD_Image)
