// IOD_MFImage: constructors.
#include <IOD/IOD_MFImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_MFImage, IOD_SCImage)
IOD_DEFINE_ASSIGNMENT(IOD_MFImage)
