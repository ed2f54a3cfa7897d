// IOD_Tissue: constructors and the tissue volume accessors.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Tissue.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_Tissue, IOD_SCImage)
IOD_DEFINE_ASSIGNMENT(IOD_Tissue)

// --- the tissue volume attributes (private attributes of the archive) ---
// Getters read through Dicom_Msg::Get (a value stored in another class is re-read from its
// bytes, as the named accessors of IOD_Msg do); setters and removers go through the virtual Set
// and Remove of the message, so that a layered element store sees them.
namespace {
template <class V>
V tissue_value(const Dicom_Type* found, const V& null) {
    if (found == nullptr) return V(null);
    if (found->GetVR() == V::kVR) return V(*static_cast<const V*>(found));
    V value;
    if (found->GetVR() != Dicom_VR::SQ) value.SetRaw(found->GetData(), found->GetRawLen());
    return value;
}
}  // namespace

#define IOD_TISSUE_ATTRIBUTE(NAME, CONSTANT, V, NULL_CONSTANT)                             \
    V IOD_Tissue::Get##NAME() const {                                                      \
        return tissue_value<V>(Dicom_Msg::Get(Dicom_Dictionary::CONSTANT), NULL_CONSTANT); \
    }                                                                                      \
    int IOD_Tissue::Set##NAME(const V& value) {                                            \
        return Set(Dicom_Dictionary::CONSTANT, const_cast<V*>(&value));                    \
    }                                                                                      \
    int IOD_Tissue::Remove##NAME() { return Remove(Dicom_Dictionary::CONSTANT); }
IOD_TISSUE_ATTRIBUTE(BoxParameters, KOVEL_BOX_PARAMETERS, Dicom_DS, DS_NULL)
IOD_TISSUE_ATTRIBUTE(DimensionsOfListVolume, KOVEL_DIMENSIONS_OF_LIST_VOLUME, Dicom_US, US_NULL)
IOD_TISSUE_ATTRIBUTE(ListVolumeData, KOVEL_LIST_VOLUME_DATA, Dicom_OW, OW_NULL)
IOD_TISSUE_ATTRIBUTE(TissueColor, KOVEL_TISSUE_COLOR, Dicom_US, US_NULL)
#undef IOD_TISSUE_ATTRIBUTE
