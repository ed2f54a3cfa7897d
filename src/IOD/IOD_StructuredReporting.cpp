// IOD_StructuredReporting: constructors.
#include <IOD/IOD_StructuredReporting.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_StructuredReporting, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_StructuredReporting, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_StructuredReporting, IOD_Image)
