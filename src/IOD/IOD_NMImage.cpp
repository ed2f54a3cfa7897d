// IOD_NMImage: constructors.
#include <IOD/IOD_NMImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_NMImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_NMImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_NMImage, IOD_Image)
