// IOD_XAImage: constructors.
#include <IOD/IOD_XAImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_XAImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_XAImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_XAImage, IOD_Image)
