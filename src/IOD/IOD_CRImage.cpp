// IOD_CRImage: constructors.
#include <IOD/IOD_CRImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_CRImage, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_CRImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_CRImage, IOD_Image)
