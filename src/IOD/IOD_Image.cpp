// IOD_Image: constructors, the defined-term constants and the image module validators.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_SQ.h>
#include <IOD/IOD_Image.h>

#include "IOD_ClassSupport.h"
#include "IOD_ValidatorSupport.h"

#define IOD_SOURCE "src/IOD/IOD_Image"

// --- constructors ---

IOD_DEFINE_CONSTRUCTORS(IOD_Image, IOD_IOD)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_Image, IOD_IOD)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_Image, IOD_IOD)
IOD_DEFINE_ASSIGNMENT(IOD_Image)

// --- defined terms ---
// Built ahead of the default order of static initialisation (after the DICOM layer's constants,
// priority 1000), so that static objects of any user may read them; see IOD_Image.h. No constant
// depends on another. The constructors' status is not consulted: every text is kept as it
// stands, also the two code strings longer than 16 characters.
namespace {
int g_termStatus = 0;
}  // namespace

#define IOD_TERM_PRIORITY [[gnu::init_priority(1100)]]
#define IOD_TERM_CS(NAME, TEXT) IOD_TERM_PRIORITY const Dicom_CS IOD_Image::NAME(TEXT, &g_termStatus);
#define IOD_TERM_AT(NAME, GROUP, ELEMENT) IOD_TERM_PRIORITY const Dicom_AT IOD_Image::NAME(GROUP, ELEMENT);
#define IOD_TERM_SH(NAME, TEXT) IOD_TERM_PRIORITY const Dicom_SH IOD_Image::NAME(TEXT, 1, &g_termStatus);
#define IOD_TERM_LO(NAME, TEXT) IOD_TERM_PRIORITY const Dicom_LO IOD_Image::NAME(TEXT, 1, &g_termStatus);
#include <IOD/tables/IOD_DefinedTerms.def>
#undef IOD_TERM_CS
#undef IOD_TERM_AT
#undef IOD_TERM_SH
#undef IOD_TERM_LO
#undef IOD_TERM_PRIORITY

// --- sequence helpers ---

int IOD_Image::CheckNItemsInSequence(Dicom_ME* element, int count) const {
    if (element == nullptr) return 0;
    const Dicom_Type* value = element->GetData();
    if (value == nullptr || value->GetVR() != Dicom_VR::SQ) return 0;
    return static_cast<const Dicom_SQ*>(value)->GetNItems() == count ? 1 : 0;
}
