// IOD_StructuredReporting: constructors and the SR document validators.
//
// Every validator stops at its first defect. The checks of the content tree run over a data set
// given by reference, the document itself or one of its content items, where the sequence keeps
// it: nothing is copied, and the values are read in place (IOD_ReadAs) unless the file stored
// one in another class than the attribute's. The content module, the relationship rules and the
// content item macro call each other down the tree, bounded by kMaxContentItemDepth.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Sequence.h>
#include <IOD/IOD_StructuredReporting.h>

#include <cstddef>
#include <cstdio>
#include <iterator>

#include "IOD_ClassSupport.h"
#include "IOD_ValidatorSupport.h"

#define IOD_SOURCE "src/IOD/IOD_StructuredReporting"

IOD_DEFINE_CONSTRUCTORS(IOD_StructuredReporting, IOD_Image)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_StructuredReporting, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_StructuredReporting, IOD_Image)

namespace {

using D = Dicom_Dictionary;

// --- the path of the content item being examined (one per thread) ---

// Room for kMaxContentItemDepth + 1 segments of "/ContentSequence[2147483647]" (29 characters).
constexpr std::size_t kPathCapacity = 4096;
static_assert(kPathCapacity > (IOD_StructuredReporting::kMaxContentItemDepth + 1) * 29);

struct ContentItemPath {
    char text[kPathCapacity];
    std::size_t length;
};
// Zero-initialised: the empty path. A trivial type, so reading it costs no initialisation guard.
thread_local ContentItemPath t_path;

// Appends "ContentSequence[index]" to the path while it lives, and takes it off again.
class PathSegment {
public:
    explicit PathSegment(int index) : saved_(t_path.length) {
        const std::size_t room = kPathCapacity - saved_;
        const int n =
            std::snprintf(t_path.text + saved_, room, "%sContentSequence[%d]", saved_ != 0 ? "/" : "", index);
        t_path.length = n < 0 ? saved_ : saved_ + (static_cast<std::size_t>(n) < room ? n : room - 1);
    }
    ~PathSegment() {
        t_path.length = saved_;
        t_path.text[saved_] = '\0';
    }
    PathSegment(const PathSegment&) = delete;
    PathSegment& operator=(const PathSegment&) = delete;

private:
    std::size_t saved_;
};

// --- sequences ---

// An element without a value, or with a value that holds nothing (a sequence without items).
bool is_empty(const Dicom_ME* element) {
    const Dicom_Type* value = element->GetData();
    return value == nullptr || value->IsEmpty();
}

// The items of the sequence held by `element`; null when its value is missing or is not a
// sequence.
Dicom_Sequence* items_of(Dicom_ME* element) {
    Dicom_Type* value = element->GetChangeableData();
    if (value == nullptr || value->GetVR() != Dicom_VR::SQ) return nullptr;
    return &static_cast<Dicom_SQ*>(value)->GetSequence();
}

// A code string equals a defined term (padding aside).
bool is_term(const Dicom_CS& value, const Dicom_CS& term) { return value == term; }

// The value types that the content item macro tells apart; the first eight carry a concept name.
enum class ValueType {
    Text,
    Num,
    Code,
    Datetime,
    Date,
    Time,
    Uidref,
    Pname,
    Composite,
    Image,
    Waveform,
    Scoord,
    Tcoord,
    Other
};

// The value type that `value` names, compared once with each defined term in turn.
ValueType value_type_of(const Dicom_CS& value) {
    static const Dicom_CS* const kTerms[] = {
        &IOD_Image::TEXT,     &IOD_Image::NUM,    &IOD_Image::CODE,  &IOD_Image::DATETIME,  &IOD_Image::DATE,
        &IOD_Image::TIME,     &IOD_Image::UIDREF, &IOD_Image::PNAME, &IOD_Image::COMPOSITE, &IOD_Image::IMAGE,
        &IOD_Image::WAVEFORM, &IOD_Image::SCOORD, &IOD_Image::TCOORD};
    for (std::size_t i = 0; i < std::size(kTerms); ++i) {
        if (is_term(value, *kTerms[i])) return static_cast<ValueType>(i);
    }
    return ValueType::Other;
}

}  // namespace

const char* IOD_StructuredReporting::CurrentContentItemPath() { return t_path.text; }

// --- documents ---

int IOD_StructuredReporting::document(SR_Kinds kind) const {
    return IsPatientModuleValid() && IsGeneralStudyModuleValid() && IsSRDocSeriesModuleValid() &&
                   IsGeneralEquipmentModuleValid() && IsSRDocumentModuleValid() &&
                   IsSRDocumentContentModuleValid(kind)
               ? 1
               : 0;
}

int IOD_StructuredReporting::IsBasicTextSRValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return document(SR_BASIC_TEXT);
}

int IOD_StructuredReporting::IsEnhancedSRValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return document(SR_ENHANCED);
}

int IOD_StructuredReporting::IsComprehensiveSRValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return document(SR_COMPREHENSIVE);
}

// --- modules ---

int IOD_StructuredReporting::IsSRDocSeriesModuleValid() const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsSRDocSeriesModuleValid";
    if (IOD_IOD::IsTolerant == 1) return 1;
    // The modality is not compared with SR.
    if (IOD_IsNullValue<Dicom_CS>(*this, D::MODALITY)) {
        IOD_DEFECT(kFunction, "IsSRDocSeriesModuleValid: Modality is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_UI>(*this, D::SERIES_INSTANCE_UID)) {
        IOD_DEFECT(kFunction, "IsSRDocSeriesModuleValid: Series Instance UID is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_IS>(*this, D::SERIES_NUMBER)) {
        IOD_DEFECT(kFunction, "IsSRDocSeriesModuleValid: Series Number is not valid\n");
        return 0;
    }
    // Referenced Performed Procedure Step Sequence: present; its items are not examined.
    if (!IOD_IsPresent(*this, D::REFERENCED_PERFORMED_PROCEDURE_STEP_SEQUENCE)) {
        IOD_DEFECT(kFunction, "IsSRDocSeriesModuleValid: referenced study seq was not found\n");
        return 0;
    }
    return 1;
}

int IOD_StructuredReporting::IsSRDocumentModuleValid() const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsSRDocumentModuleValid";
    if (IOD_IOD::IsTolerant == 1) return 1;
    if (IOD_IsNullValue<Dicom_IS>(*this, D::INSTANCE_NUMBER)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: Instance Number is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_CS>(*this, D::COMPLETION_FLAG)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: completion flag is not valid\n");
        return 0;
    }
    Dicom_CS scratch;
    const Dicom_CS& verification = IOD_ReadAs<Dicom_CS>(*this, D::VERIFICATION_FLAG, scratch);
    if (verification == CS_NULL) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: verification flag is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_DA>(*this, D::CONTENT_DATE)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: content date is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_TM>(*this, D::CONTENT_TIME)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: content time is not valid\n");
        return 0;
    }
    if (!is_term(verification, IOD_Image::VERIFIED)) return 1;
    // A verified document: the verifier at the top level of the document (not in an item of a
    // verifying observer sequence). The date time is read as a date: any value passes.
    if (IOD_IsNullValue<Dicom_DA>(*this, D::VERIFICATION_DATE_TIME)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: verification date time is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_PN>(*this, D::VERIFYING_OBSERVER_NAME)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: documenting observer is not valid\n");
        return 0;
    }
    if (IOD_IsNullValue<Dicom_LO>(*this, D::VERIFYING_ORGANIZATION)) {
        IOD_DEFECT(kFunction, "IsSRDocumentModuleValid: documenting organization is not valid\n");
        return 0;
    }
    return 1;
}

// The content module consults no tolerance of its own: the two checks it runs do.
int IOD_StructuredReporting::IsSRDocumentContentModuleValid(SR_Kinds kind) const {
    return IsSRDocumentRelationshipValid(kind) && IsSRDocumentContentMacroValid(kind) ? 1 : 0;
}

int IOD_StructuredReporting::IsSRDocumentRelationshipValid(SR_Kinds kind) const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return relationship_rules(*this, kind, 0);
}

int IOD_StructuredReporting::IsSRDocumentContentMacroValid(SR_Kinds kind) const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return content_macro(*this, kind);
}

// --- the content tree ---

int IOD_StructuredReporting::content_module(const Dicom_Msg& doc, SR_Kinds kind, int depth) const {
    return relationship_rules(doc, kind, depth) && content_macro(doc, kind) ? 1 : 0;
}

int IOD_StructuredReporting::relationship_rules(const Dicom_Msg& doc, SR_Kinds kind, int depth) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsSRDocumentRelationshipValid";
    // Observation time: an observation made at another date or time than the content was
    // created needs its own Observation DateTime.
    {
        Dicom_DA dateScratch, contentDateScratch;
        Dicom_TM timeScratch, contentTimeScratch;
        const Dicom_DA& date = IOD_ReadAs<Dicom_DA>(doc, D::DATE, dateScratch);
        const Dicom_TM& time = IOD_ReadAs<Dicom_TM>(doc, D::TIME, timeScratch);
        const Dicom_DA& contentDate = IOD_ReadAs<Dicom_DA>(doc, D::CONTENT_DATE, contentDateScratch);
        const Dicom_TM& contentTime = IOD_ReadAs<Dicom_TM>(doc, D::CONTENT_TIME, contentTimeScratch);
        if ((date != contentDate || time != contentTime) &&
            IOD_IsNullValue<Dicom_DT>(doc, D::OBSERVATION_DATE_TIME)) {
            IOD_DEFECT(kFunction, "IsSRDocumentRelationshipValid: observation date time invalid\n");
            return 0;
        }
    }
    // Content template: one item identifying the template.
    if (Dicom_ME* templ = doc.Find(D::CONTENT_TEMPLATE_SEQUENCE, false);
        templ != nullptr && !is_empty(templ)) {
        Dicom_Sequence* templates = items_of(templ);
        if (templates == nullptr) return 1;  // the content items are then not examined
        if (templates->GetNItems() != 1) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "CONTENT_TEMPLATE_SEQUENCE");
            return 0;
        }
        Dicom_Msg* item = templates->Get(0);
        if (item == nullptr) {
            IOD_DEFECT(kFunction, "IsSRDocumentRelationshipValid: Dicom_Msg of seq is NULL\n");
            return 0;
        }
        if (!IsTemplateIdentMacroValid(item)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "CONTENT_TEMPLATE_SEQUENCE");
            return 0;
        }
    }
    // Content items.
    Dicom_ME* content = doc.Find(D::CONTENT_SEQUENCE, false);
    if (content == nullptr || is_empty(content)) return 1;
    Dicom_Sequence* items = items_of(content);
    if (items == nullptr || items->GetNItems() < 1) return 1;
    for (int i = 0; i < items->GetNItems(); ++i) {
        const PathSegment where(i);
        if (depth >= kMaxContentItemDepth) {
            IOD_DEFECT(kFunction,
                       "IsSRDocumentRelationshipValid: content item nested deeper than %d levels\n",
                       kMaxContentItemDepth);
            return 0;
        }
        Dicom_Msg* item = items->Get(i);
        if (item == nullptr) {
            IOD_DEFECT(kFunction, "IsSRDocumentRelationshipValid: Dicom_Msg of %d seq is NULL\n", i);
            return 0;
        }
        const Dicom_ME* relationship = item->Find(D::RELATIONSHIP_TYPE, false);
        Dicom_CS scratch;
        const Dicom_CS& type =
            IOD_ViewAs<Dicom_CS>(relationship != nullptr ? relationship->GetData() : nullptr, scratch);
        if (relationship == nullptr || type == CS_NULL) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "RELATIONSHIP_TYPE");
            return 0;
        }
        const bool byReference = item->Find(D::REFERENCED_CONTENT_ITEM_IDENTIFIER, false) != nullptr;
        const bool contains = is_term(type, IOD_Image::CONTAINS);
        if (contains && byReference) {  // a containment is always by value
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_CONTENT_ITEM_IDENTIFIER");
            return 0;
        }
        // By value: the item is checked as a data set of its own. By reference: the target is
        // checked where it stands in the tree.
        if ((contains || !byReference) && !content_module(*item, kind, depth + 1)) return 0;
    }
    return 1;
}

int IOD_StructuredReporting::content_macro(const Dicom_Msg& doc, SR_Kinds kind) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsSRDocumentContentMacroValid";
    Dicom_CS scratch;
    const Dicom_CS& value = IOD_ReadAs<Dicom_CS>(doc, D::VALUE_TYPE, scratch);
    if (value == CS_NULL) return 0;
    const ValueType type = value_type_of(value);
    // Value types with a value of their own carry a concept name.
    if (type <= ValueType::Pname) {
        Dicom_ME* conceptName = doc.Find(D::CONCEPT_NAME_CODE_SEQUENCE, false);
        if (conceptName == nullptr) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "CONCEPT_NAME_CODE_SEQUENCE");
            return 0;
        }
        // Checked with the strict flag, which judges every non-empty code sequence invalid.
        if (!is_empty(conceptName) && CheckNItemsInSequence(conceptName, 1) == 1 &&
            IsCodingValueOfSequenceValid(conceptName, 1) != 1) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "IsSRDocumentContentMacroValid");
            return 0;
        }
    }
    // The value, by type.
    switch (type) {
        case ValueType::Text:
            if (IOD_IsNullValue<Dicom_UT>(doc, D::TEXT_VALUE)) return 0;
            break;
        case ValueType::Datetime:
            if (IOD_IsNullValue<Dicom_DT>(doc, D::DATE_TIME)) return 0;
            break;
        case ValueType::Date:
            if (IOD_IsNullValue<Dicom_DA>(doc, D::DATE)) return 0;
            break;
        case ValueType::Time:
            if (IOD_IsNullValue<Dicom_TM>(doc, D::TIME)) return 0;
            break;
        case ValueType::Pname:
            if (IOD_IsNullValue<Dicom_PN>(doc, D::PERSON_NAME)) return 0;
            break;
        case ValueType::Uidref:
            if (IOD_IsNullValue<Dicom_UI>(doc, D::UID)) return 0;
            break;
        case ValueType::Num:  // a basic text document holds no measurements to check
            if (kind != SR_BASIC_TEXT && !numeric_measurement(doc)) return 0;
            break;
        case ValueType::Code:
            if (!code_macro(doc)) return 0;
            break;
        case ValueType::Composite:
        case ValueType::Image:
        case ValueType::Waveform:
            if (!composite_reference(doc)) return 0;
            break;
        default:
            break;
    }
    if (kind == SR_BASIC_TEXT) return 1;
    if (type == ValueType::Scoord) return spatial_coordinates(doc);
    if (type == ValueType::Tcoord) return IOD_IOD::IsValid();  // accepted unchecked
    return 1;
}

// --- value types ---

int IOD_StructuredReporting::IsNumericMeasurementValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return numeric_measurement(*this);
}

int IOD_StructuredReporting::numeric_measurement(const Dicom_Msg& doc) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsNumericMeasurementValid";
    Dicom_ME* measured = doc.Find(D::MEASURED_VALUE_SEQUENCE, false);
    if (measured == nullptr || is_empty(measured)) return 0;
    Dicom_Sequence* values = items_of(measured);
    if (values == nullptr || values->GetNItems() < 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "MEASURED_VALUE_SEQUENCE");
        return 0;
    }
    for (int i = 0; i < values->GetNItems(); ++i) {
        const Dicom_Msg* item = values->Get(i);
        if (item == nullptr || !IOD_IsPresent(*item, D::NUMERIC_VALUE) ||
            IOD_IsNullValue<Dicom_DS>(*item, D::NUMERIC_VALUE)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "MEASURED_VALUE_SEQUENCE");
            return 0;
        }
        // The units are those of the data set that holds the measured value sequence.
        Dicom_ME* units = doc.Find(D::MEASUREMENT_UNITS_CODE_SEQUENCE, false);
        if (units == nullptr || is_empty(units)) return 0;
        Dicom_Sequence* codes = items_of(units);
        if (codes == nullptr || IsCodingValueOfSequenceValid(codes, 1) != 1) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "MEASURMENT_UNITS_CODE_SEQUENCE");
            return 0;
        }
    }
    return 1;
}

int IOD_StructuredReporting::IsCodeMacroValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return code_macro(*this);
}

int IOD_StructuredReporting::code_macro(const Dicom_Msg& doc) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsCodeMacroValid";
    Dicom_ME* conceptCode = doc.Find(D::CONCEPT_CODE_SEQUENCE, false);
    if (conceptCode == nullptr || is_empty(conceptCode)) return 0;
    Dicom_Sequence* codes = items_of(conceptCode);
    if (codes == nullptr || codes->GetNItems() != 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "CONCEPT_CODE_SEQUENCE");
        return 0;
    }
    if (IsCodingValueOfSequenceValid(codes, 1) != 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "MEASURMENT_UNITS_CODE_SEQUENCE");
        return 0;
    }
    return 1;
}

int IOD_StructuredReporting::IsCompositeObjectReferenceValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return composite_reference(*this);
}

int IOD_StructuredReporting::IsImageReferenceValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return IsCompositeObjectReferenceValid();
}

int IOD_StructuredReporting::composite_reference(const Dicom_Msg& doc) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsCompositeObjectReferenceValid";
    Dicom_ME* referenced = doc.Find(D::REFERENCED_SOP_SEQUENCE, false);
    if (referenced == nullptr) return 0;
    Dicom_Sequence* references = items_of(referenced);
    if (references == nullptr || IsReferenceSOPSequenceValid(references) != 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_SOP_SEQUENCE");
        return 0;
    }
    return 1;
}

int IOD_StructuredReporting::IsSpatialCoordinatesValid() const {
    if (IOD_IOD::IsTolerant == 1) return 1;
    return spatial_coordinates(*this);
}

int IOD_StructuredReporting::spatial_coordinates(const Dicom_Msg& doc) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsSpatialCoordinatesValid";
    Dicom_CS typeScratch;
    const Dicom_CS& type = IOD_ReadAs<Dicom_CS>(doc, D::GRAPHIC_TYPE, typeScratch);
    if (type == CS_NULL) {
        IOD_DEFECT(kFunction, "IsSpatialCoordinatesValid: Graphic Type is not valid\n");
        return 0;
    }
    Dicom_FL dataScratch;
    const Dicom_FL& data = IOD_ReadAs<Dicom_FL>(doc, D::GRAPHIC_DATA, dataScratch);
    if (data == FL_NULL) {
        IOD_DEFECT(kFunction, "IsSpatialCoordinatesValid: Graphic Data is not valid\n");
        return 0;
    }
    // Counts of numbers by graphic type (a circle as a point pair, an ellipse as two of them);
    // other types are not counted.
    const int count = data.GetVM();
    if (is_term(type, IOD_Image::POINT) && count != 2) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "POINT");
        return 0;
    }
    if (is_term(type, IOD_Image::CIRCLE) && count != 2) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "CIRCLE");
        return 0;
    }
    if (is_term(type, IOD_Image::ELLIPSE) && count != 4) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "ELLIPSE");
        return 0;
    }
    return 1;
}

int IOD_StructuredReporting::IsSRSopInstanceRefValid() const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsSRSopInstanceRefValid";
    if (IOD_IsNullValue<Dicom_UI>(*this, D::STUDY_INSTANCE_UID)) return 0;
    Dicom_ME* series = Find(D::REFERENCED_SERIES_SEQUENCE, false);
    if (series == nullptr || is_empty(series)) return 0;
    Dicom_Sequence* items = items_of(series);
    if (items == nullptr || IsReferenceSeriesSequenceValid(items) != 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_SERIES_SEQUENCE");
        return 0;
    }
    return 1;
}

// --- reference sequences ---

int IOD_StructuredReporting::IsReferenceSeriesSequenceValid(Dicom_Sequence* sequence) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsReferenceSeriesSequenceValid";
    if (IOD_IOD::IsTolerant == 1) return 1;
    if (sequence == nullptr) {
        IOD_DEFECT(kFunction, "IsReferenceSeriesSequenceValid: null input\n");
        return 0;
    }
    for (int i = 0; i < sequence->GetNItems(); ++i) {
        const Dicom_Msg* item = sequence->Get(i);
        if (item == nullptr) {
            IOD_DEFECT(kFunction, "IsReferenceSeriesSequenceValid: Dicom_Msg of %d seq is NULL\n", i);
            return 0;
        }
        if (IOD_IsNullValue<Dicom_UI>(*item, D::SERIES_INSTANCE_UID)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "SERIES_INSTANCE_UID");
            return 0;
        }
        if (IOD_IsNullValue<Dicom_SQ>(*item, D::REFERENCED_SOP_SEQUENCE)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_SOP_SEQUENCE");
            return 0;
        }
        // The series items themselves carry the referenced SOP class and instance. The check
        // covers the whole sequence, so its verdict for the first item holds for every item.
        if (i == 0 && IsReferenceSOPSequenceValid(sequence) != 1) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_SOP_SEQUENCE");
            return 0;
        }
    }
    return 1;
}

int IOD_StructuredReporting::IsReferenceSOPSequenceValid(Dicom_Sequence* sequence) const {
    static constexpr const char* kFunction = "IOD_StructuredReporting::IsReferenceSOPSequenceValid";
    if (sequence == nullptr) {
        IOD_DEFECT(kFunction, "IsReferenceSOPSequenceValid: null input\n");
        return 0;
    }
    for (int i = 0; i < sequence->GetNItems(); ++i) {
        const Dicom_Msg* item = sequence->Get(i);
        if (item == nullptr) {
            IOD_DEFECT(kFunction, "IsReferenceSOPSequenceValid: Dicom_Msg of %d seq is NULL\n", i);
            return 0;
        }
        if (IOD_IsNullValue<Dicom_UI>(*item, D::REFERENCED_SOP_CLASS_UID)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_SOP_CLASS_UID");
            return 0;
        }
        if (IOD_IsNullValue<Dicom_UI>(*item, D::REFERENCED_SOP_INSTANCE_UID)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCED_SOP_INSTANCE_UID");
            return 0;
        }
    }
    return 1;
}
