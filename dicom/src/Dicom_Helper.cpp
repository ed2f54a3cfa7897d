// Dicom_Helper: item access for sequences.
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>

Dicom_Msg* Dicom_Helper::GetSequenceMsg(const Dicom_Tag& sequence, unsigned int n) const {
    const Dicom_Type* v = m_msg.Get(sequence);
    if (!v || v->GetVR() != Dicom_VR::SQ) return nullptr;
    return static_cast<const Dicom_SQ*>(v)->GetItem(static_cast<int>(n));
}

const Dicom_Type* Dicom_Helper::GetSequenceMsgTag(const Dicom_Tag& sequence, const Dicom_Tag& tag,
                                                  unsigned int n) const {
    const Dicom_Msg* item = GetSequenceMsg(sequence, n);
    return item ? item->Get(tag) : nullptr;
}
