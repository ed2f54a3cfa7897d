// The SR document validators of IOD_StructuredReporting over documents built in memory: each
// check stops at its first defect with its exact record, the content tree is followed by value
// and not by reference, depth is bounded, and a sink reads the path of the item in fault.
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_UN.h>
#include <Dicom/Dicom_UT.h>
#include <IOD/IOD_StructuredReporting.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ValidatorTestSupport.h"

namespace {

using D = Dicom_Dictionary;
using SR = IOD_StructuredReporting;
using Lines = std::vector<std::string>;
using Items = std::vector<Dicom_Msg*>;

// --- documents ---

Dicom_Msg* With(Dicom_Msg* m, const Dicom_Tag& tag, const Dicom_Type& value) {
    m->Set(tag, const_cast<Dicom_Type*>(&value));
    return m;
}
Dicom_Msg* Seq(Dicom_Msg* m, const Dicom_Tag& tag, const Items& items) {
    auto* sq = new Dicom_SQ;
    for (Dicom_Msg* item : items) sq->AddItem(item);
    m->SetWithoutDataCopy(tag, sq);
    return m;
}
Dicom_Msg* Code() {  // a code item that passes its own checks
    return With(With(new Dicom_Msg, D::CODE_VALUE, Dicom_SH("121071")), D::CODING_SCHEME_DESIGNATOR,
                Dicom_SH("DCM"));
}
Dicom_Msg* SopRef() {
    return With(With(new Dicom_Msg, D::REFERENCED_SOP_CLASS_UID, Dicom_UI("1.2.840.10008.5.1.4.1.1.2")),
                D::REFERENCED_SOP_INSTANCE_UID, Dicom_UI("1.2.3.9"));
}
Dicom_UN NotASequence() {  // bytes of unknown VR where a sequence belongs
    static char bytes[] = "xy";
    return Dicom_UN(bytes, 2, 1, nullptr);
}
// A content item with an empty concept name (which passes).
Dicom_Msg* Item(const char* relationship, const char* type, const Items& children = {}) {
    Dicom_Msg* m = With(With(new Dicom_Msg, D::VALUE_TYPE, Dicom_CS(type)), D::RELATIONSHIP_TYPE,
                        Dicom_CS(relationship));
    Seq(m, D::CONCEPT_NAME_CODE_SEQUENCE, {});
    return children.empty() ? m : Seq(m, D::CONTENT_SEQUENCE, children);
}
Dicom_Msg* Chain(int levels) {  // `levels` containers, each holding the next
    Dicom_Msg* inner = Item("CONTAINS", "CONTAINER");
    for (int i = 1; i < levels; ++i) inner = Item("CONTAINS", "CONTAINER", {inner});
    return inner;
}

// A comprehensive document that every check accepts:
//   CONTAINER: [0] CONTAINS TEXT, [1] CONTAINS CONTAINER ([0] CONTAINS TEXT, [1] HAS PROPERTIES
//   PNAME), [2] HAS OBS CONTEXT DATE (with an observation date time of its own), [3] CONTAINS
//   SCOORD POINT ([0] SELECTED FROM IMAGE), [4] INFERRED FROM by reference (naming no value type:
//   it is not followed).
void FillSR(Dicom_Msg& sr) {
    // clang-format off
    const std::pair<Dicom_Tag, std::shared_ptr<Dicom_Type>> top[] = {
        {D::PATIENT_NAME, std::make_shared<Dicom_PN>("Doe^Jane")}, {D::PATIENT_ID, std::make_shared<Dicom_LO>("P-1")},
        {D::PATIENT_BIRTH_DATE, std::make_shared<Dicom_DA>("19700101")}, {D::PATIENT_SEX, std::make_shared<Dicom_CS>("F")},
        {D::STUDY_INSTANCE_UID, std::make_shared<Dicom_UI>("1.2.3.4")}, {D::STUDY_DATE, std::make_shared<Dicom_DA>("")},
        {D::STUDY_TIME, std::make_shared<Dicom_TM>("")}, {D::REFERRING_PHYSICIAN_NAME, std::make_shared<Dicom_PN>("")},
        {D::STUDY_ID, std::make_shared<Dicom_SH>("")}, {D::ACCESSION_NUMBER, std::make_shared<Dicom_SH>("")},
        {D::MODALITY, std::make_shared<Dicom_CS>("SR")}, {D::SERIES_INSTANCE_UID, std::make_shared<Dicom_UI>("1.2.3.4.1")},
        {D::SERIES_NUMBER, std::make_shared<Dicom_IS>(1)}, {D::MANUFACTURER, std::make_shared<Dicom_LO>("ACME")},
        {D::INSTANCE_NUMBER, std::make_shared<Dicom_IS>(1)}, {D::COMPLETION_FLAG, std::make_shared<Dicom_CS>("COMPLETE")},
        {D::VERIFICATION_FLAG, std::make_shared<Dicom_CS>("UNVERIFIED")}, {D::VALUE_TYPE, std::make_shared<Dicom_CS>("CONTAINER")},
        {D::CONTENT_DATE, std::make_shared<Dicom_DA>("20240102")}, {D::CONTENT_TIME, std::make_shared<Dicom_TM>("101500")},
        {D::OBSERVATION_DATE_TIME, std::make_shared<Dicom_DT>("20240102101500")}};
    // clang-format on
    for (const auto& [tag, value] : top) With(&sr, tag, *value);
    Seq(&sr, D::REFERENCED_PERFORMED_PROCEDURE_STEP_SEQUENCE, {});
    Dicom_Msg* date = With(With(Item("HAS OBS CONTEXT", "DATE"), D::DATE, Dicom_DA("20240101")),
                           D::OBSERVATION_DATE_TIME, Dicom_DT("20240101"));
    Dicom_Msg* point = With(With(Item("CONTAINS", "SCOORD"), D::GRAPHIC_TYPE, Dicom_CS("POINT")),
                            D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{1, 2}));
    Seq(point, D::CONTENT_SEQUENCE,
        {Seq(Item("SELECTED FROM", "IMAGE"), D::REFERENCED_SOP_SEQUENCE, {SopRef()})});
    Dicom_Msg* reference = With(With(new Dicom_Msg, D::RELATIONSHIP_TYPE, Dicom_CS("INFERRED FROM")),
                                D::REFERENCED_CONTENT_ITEM_IDENTIFIER, Dicom_UL(1u));
    Dicom_Msg* name = With(Item("HAS PROPERTIES", "PNAME"), D::PERSON_NAME, Dicom_PN("Doe^John"));
    Seq(&sr, D::CONTENT_SEQUENCE,
        {With(Item("CONTAINS", "TEXT"), D::TEXT_VALUE, Dicom_UT("a")),
         Item("CONTAINS", "CONTAINER", {With(Item("CONTAINS", "TEXT"), D::TEXT_VALUE, Dicom_UT("b")), name}),
         date, point, reference});
}

// --- changes to the document of FillSR ---

using Change = std::function<void(Dicom_Msg&)>;
Dicom_Msg* At(Dicom_Msg& m, const std::vector<int>& path) {  // content item `path`, level by level
    Dicom_Msg* at = &m;
    for (int i : path)
        at = static_cast<Dicom_SQ*>(at->Find(D::CONTENT_SEQUENCE)->GetChangeableData())->GetItem(i);
    return at;
}
Change Set(std::vector<int> path, const Dicom_Tag& tag, const Dicom_Type& value) {
    std::shared_ptr<Dicom_Type> v(value.Clone());
    return [=](Dicom_Msg& m) { At(m, path)->Set(tag, v.get()); };
}
Change Drop(std::vector<int> path, const Dicom_Tag& tag) {
    return [=](Dicom_Msg& m) { At(m, path)->Remove(tag); };
}
Change SetSeq(std::vector<int> path, const Dicom_Tag& tag, std::function<Items()> items) {
    return [=](Dicom_Msg& m) { Seq(At(m, path), tag, items()); };
}
Change Both(Change a, Change b) {
    return [=](Dicom_Msg& m) {
        a(m);
        b(m);
    };
}
Change Top(
    const char* type, Change more = [](Dicom_Msg&) {}) {  // the top level as an item of `type`
    return Both(Both(Set({}, D::VALUE_TYPE, Dicom_CS(type)),
                     SetSeq({}, D::CONCEPT_NAME_CODE_SEQUENCE, [] { return Items{}; })),
                more);
}
Change Series(bool uid, bool references, bool own) {  // a Referenced Series Sequence of one item
    return SetSeq({}, D::REFERENCED_SERIES_SEQUENCE, [=] {
        Dicom_Msg* item = own ? SopRef() : new Dicom_Msg;  // own: the item names a SOP instance itself
        if (uid) With(item, D::SERIES_INSTANCE_UID, Dicom_UI("1.2.3"));
        return Items{references ? Seq(item, D::REFERENCED_SOP_SEQUENCE, {SopRef()}) : item};
    });
}
Change Graphic(const char* type, int numbers) {
    return Top("SCOORD", Both(Set({}, D::GRAPHIC_TYPE, Dicom_CS(type)),
                              Set({}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>(numbers, 1.f)))));
}

// --- records ---

// The records of category 19 up to level 4, each followed by " at <path>" when a sink read a
// content item path while it was delivered. A record of IOD_StructuredReporting must come from
// its source file at level 4 and is written without its class: its text (which names its
// function), or "Function@NAME" for "File: <file> Line: <line> Attribute:NAME not valid" after the
// file and line are checked against the record's. Other records: "function: text".
class SrRecorder {
public:
    SrRecorder() : log_(7) {
        handle_ = KvlGLog.AddSink([this](const Kvl_LogRecord& r) {
            if (r.category != 19 || r.level > 4) return;
            const std::string where = SR::CurrentContentItemPath();
            lines.push_back(Render(r) + (where.empty() ? "" : " at " + where));
        });
    }
    ~SrRecorder() { KvlGLog.RemoveSink(handle_); }
    Lines lines;

private:
    static std::string Render(const Kvl_LogRecord& r) {
        const std::string cls = "IOD_StructuredReporting::";
        if (r.function.rfind(cls, 0) != 0) return r.function + ": " + r.text;
        if (r.file != "src/IOD/IOD_StructuredReporting" || r.level != 4) return "misplaced: " + r.text;
        const std::string fn = r.function.substr(cls.size());
        std::string text = r.text;
        if (Strip(text, "File: " + r.file + " Line: " + std::to_string(r.line) + " Attribute:", " not valid"))
            return fn + "@" + text;
        return text.rfind(fn + ": ", 0) == 0 ? text : "misnamed " + r.function + ": " + text;
    }
    LogRecorder log_;
    int handle_;
};

using Check = std::function<int(const SR&)>;
const Check kBasic = [](const SR& s) { return s.IsBasicTextSRValid(); };
const Check kEnhanced = [](const SR& s) { return s.IsEnhancedSRValid(); };
const Check kFull = [](const SR& s) { return s.IsComprehensiveSRValid(); };
const Check kMacro0 = [](const SR& s) { return s.IsSRDocumentContentMacroValid(SR::SR_BASIC_TEXT); };
const Check kMacro1 = [](const SR& s) { return s.IsSRDocumentContentMacroValid(SR::SR_ENHANCED); };
const Check kMacro2 = [](const SR& s) { return s.IsSRDocumentContentMacroValid(SR::SR_COMPREHENSIVE); };
const Check kRef = [](const SR& s) { return s.IsSRSopInstanceRefValid(); };
const std::string kStrict =
    "IOD_Image::IsCodingValueOfSequenceValid: IsCodingValueOfSequenceValid: invalid Coding Scheme Designator";

// The record of an item one level deeper than the limit, under content item [1].
std::string TooDeep() {
    std::string line =
        "IsSRDocumentRelationshipValid: content item nested deeper than 128 levels at ContentSequence[1]";
    for (int i = 0; i < SR::kMaxContentItemDepth; ++i) line += "/ContentSequence[0]";
    return line;
}

struct Case {
    const char* what;
    Change change;
    Check check;
    int valid;
    Lines records;
};

// clang-format off
const Case kCases[] = {
    {"complete", nullptr, kFull, 1, {}},
    {"complete, basic text", nullptr, kBasic, 1, {}},
    {"complete, enhanced", nullptr, kEnhanced, 1, {}},
    // document modules, in their order, up to the first defect
    {"patient sex", Drop({}, D::PATIENT_SEX), kFull, 0, {"IOD_Image::IsPatientModuleValid: IsPatientModuleValid: Patients Sex is not found"}},
    {"first defect only", Both(Drop({}, D::MODALITY), Drop({}, D::SERIES_NUMBER)), kFull, 0, {"IsSRDocSeriesModuleValid: Modality is not valid"}},
    {"series uid", Set({}, D::SERIES_INSTANCE_UID, Dicom_UI()), kFull, 0, {"IsSRDocSeriesModuleValid: Series Instance UID is not valid"}},
    {"series number", Drop({}, D::SERIES_NUMBER), kFull, 0, {"IsSRDocSeriesModuleValid: Series Number is not valid"}},
    {"procedure step", Drop({}, D::REFERENCED_PERFORMED_PROCEDURE_STEP_SEQUENCE), kFull, 0, {"IsSRDocSeriesModuleValid: referenced study seq was not found"}},
    {"manufacturer", Drop({}, D::MANUFACTURER), kFull, 0, {"IOD_Image::IsGeneralEquipmentModuleValid: IsGeneralEquipmentModuleValid: Manufacturer is not found"}},
    {"instance number", Drop({}, D::INSTANCE_NUMBER), kFull, 0, {"IsSRDocumentModuleValid: Instance Number is not valid"}},
    {"completion", Drop({}, D::COMPLETION_FLAG), kFull, 0, {"IsSRDocumentModuleValid: completion flag is not valid"}},
    {"verification", Drop({}, D::VERIFICATION_FLAG), kFull, 0, {"IsSRDocumentModuleValid: verification flag is not valid"}},
    {"content date", Drop({}, D::CONTENT_DATE), kFull, 0, {"IsSRDocumentModuleValid: content date is not valid"}},
    {"content time", Drop({}, D::CONTENT_TIME), kFull, 0, {"IsSRDocumentModuleValid: content time is not valid"}},
    {"verified", Set({}, D::VERIFICATION_FLAG, Dicom_CS("VERIFIED")), kFull, 0, {"IsSRDocumentModuleValid: verification date time is not valid"}},
    {"verified, date time", Both(Set({}, D::VERIFICATION_FLAG, Dicom_CS("VERIFIED")), Set({}, D::VERIFICATION_DATE_TIME, Dicom_DT("20240102101500"))),
     kFull, 0, {"IsSRDocumentModuleValid: documenting observer is not valid"}},
    {"verified, no organization", Both(Both(Set({}, D::VERIFICATION_FLAG, Dicom_CS("VERIFIED")), Set({}, D::VERIFICATION_DATE_TIME, Dicom_DT("2024"))),
     Set({}, D::VERIFYING_OBSERVER_NAME, Dicom_PN("Who"))), kFull, 0, {"IsSRDocumentModuleValid: documenting organization is not valid"}},
    // observation time, content template
    {"observed at another time", Drop({}, D::OBSERVATION_DATE_TIME), kFull, 0, {"IsSRDocumentRelationshipValid: observation date time invalid"}},
    {"observed with the content", Both(Both(Drop({}, D::OBSERVATION_DATE_TIME), Set({}, D::DATE, Dicom_DA("20240102"))), Set({}, D::TIME, Dicom_TM("101500"))),
     kFull, 1, {}},
    {"DATE item observed at another time", Drop({2}, D::OBSERVATION_DATE_TIME), kFull, 0, {"IsSRDocumentRelationshipValid: observation date time invalid at ContentSequence[2]"}},
    {"two templates", SetSeq({}, D::CONTENT_TEMPLATE_SEQUENCE, [] { return Items{new Dicom_Msg, new Dicom_Msg}; }), kFull, 0, {"IsSRDocumentRelationshipValid@CONTENT_TEMPLATE_SEQUENCE"}},
    {"template", SetSeq({}, D::CONTENT_TEMPLATE_SEQUENCE, [] { return Items{new Dicom_Msg}; }), kFull, 0,
     {"IOD_Image::IsTemplateIdentMacroValid: IsTemplateIdentMacroValid: template identifier is not valid", "IsSRDocumentRelationshipValid@CONTENT_TEMPLATE_SEQUENCE"}},
    {"template without mapping resource", SetSeq({}, D::CONTENT_TEMPLATE_SEQUENCE, [] { return Items{With(new Dicom_Msg, D::TEMPLATE_IDENTIFIER, Dicom_CS("2000"))}; }), kFull, 0,
     {"IOD_Image::IsTemplateIdentMacroValid: IsTemplateIdentMacroValid: mapping resource is not valid", "IsSRDocumentRelationshipValid@CONTENT_TEMPLATE_SEQUENCE"}},
    {"null template", SetSeq({}, D::CONTENT_TEMPLATE_SEQUENCE, [] { return Items{nullptr}; }), kFull, 0, {"IsSRDocumentRelationshipValid: Dicom_Msg of seq is NULL"}},
    {"valid template", SetSeq({}, D::CONTENT_TEMPLATE_SEQUENCE, [] { return Items{With(With(new Dicom_Msg, D::TEMPLATE_IDENTIFIER, Dicom_CS("2000")), D::MAPPING_RESOURCE, Dicom_CS("DCMR"))}; }),
     kFull, 1, {}},
    {"template not a sequence: items unchecked", Both(Set({}, D::CONTENT_TEMPLATE_SEQUENCE, NotASequence()), Drop({0}, D::RELATIONSHIP_TYPE)), kFull, 1, {}},
    // content items: by value followed, by reference not, descendants before the item's macro
    {"null item", SetSeq({}, D::CONTENT_SEQUENCE, [] { return Items{Item("CONTAINS", "CONTAINER"), nullptr}; }), kFull, 0,
     {"IsSRDocumentRelationshipValid: Dicom_Msg of 1 seq is NULL at ContentSequence[1]"}},
    {"no relationship", Drop({1, 1}, D::RELATIONSHIP_TYPE), kFull, 0, {"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE at ContentSequence[1]/ContentSequence[1]"}},
    {"empty relationship", Set({3, 0}, D::RELATIONSHIP_TYPE, Dicom_CS()), kFull, 0, {"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE at ContentSequence[3]/ContentSequence[0]"}},
    {"containment by reference", Set({1}, D::REFERENCED_CONTENT_ITEM_IDENTIFIER, Dicom_UL(1u)), kFull, 0,
     {"IsSRDocumentRelationshipValid@REFERENCED_CONTENT_ITEM_IDENTIFIER at ContentSequence[1]"}},
    {"by value: followed", Drop({4}, D::REFERENCED_CONTENT_ITEM_IDENTIFIER), kFull, 0, {}},
    {"descendants first", Both(Both(Set({1}, D::VALUE_TYPE, Dicom_CS("TEXT")), Drop({1}, D::CONCEPT_NAME_CODE_SEQUENCE)), Drop({1, 1}, D::RELATIONSHIP_TYPE)),
     kBasic, 0, {"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE at ContentSequence[1]/ContentSequence[1]"}},
    {"then the item's macro", Both(Set({1}, D::VALUE_TYPE, Dicom_CS("TEXT")), Drop({1}, D::CONCEPT_NAME_CODE_SEQUENCE)), kBasic, 0,
     {"IsSRDocumentContentMacroValid@CONCEPT_NAME_CODE_SEQUENCE at ContentSequence[1]"}},
    {"NUM item, enhanced", SetSeq({}, D::CONTENT_SEQUENCE, [] { return Items{Item("CONTAINS", "NUM")}; }), kEnhanced, 0, {}},
    {"NUM item, basic text", SetSeq({}, D::CONTENT_SEQUENCE, [] { return Items{Item("CONTAINS", "NUM")}; }), kBasic, 1, {}},
    {"SCOORD item", Set({3}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{1, 2, 3})), kFull, 0, {"IsSpatialCoordinatesValid@POINT at ContentSequence[3]"}},
    {"SCOORD item, basic text", Set({3}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{1, 2, 3})), kBasic, 1, {}},
    {"129 levels", SetSeq({1}, D::CONTENT_SEQUENCE, [] { return Items{Chain(SR::kMaxContentItemDepth)}; }), kFull, 0, {TooDeep()}},
    {"128 levels", SetSeq({}, D::CONTENT_SEQUENCE, [] { return Items{Chain(SR::kMaxContentItemDepth)}; }), kFull, 1, {}},
    // the content item macro, on the top level
    {"no value type", Drop({}, D::VALUE_TYPE), kMacro1, 0, {}},
    {"no concept name", Top("TEXT", Drop({}, D::CONCEPT_NAME_CODE_SEQUENCE)), kMacro0, 0, {"IsSRDocumentContentMacroValid@CONCEPT_NAME_CODE_SEQUENCE"}},
    {"coded concept name", Top("PNAME", SetSeq({}, D::CONCEPT_NAME_CODE_SEQUENCE, [] { return Items{Code()}; })), kMacro0, 0,
     {kStrict, "IsSRDocumentContentMacroValid@IsSRDocumentContentMacroValid"}},
    {"two concept names", Top("TEXT", Both(Set({}, D::TEXT_VALUE, Dicom_UT("x")), SetSeq({}, D::CONCEPT_NAME_CODE_SEQUENCE, [] { return Items{Code(), Code()}; }))),
     kMacro0, 1, {}},
    {"TEXT", Top("TEXT"), kMacro0, 0, {}},
    {"DATETIME", Top("DATETIME"), kMacro0, 0, {}},
    {"DATETIME with value", Top("DATETIME", Set({}, D::DATE_TIME, Dicom_DT("2024"))), kMacro0, 1, {}},
    {"DATE", Top("DATE"), kMacro0, 0, {}},
    {"TIME", Top("TIME"), kMacro0, 0, {}},
    {"TIME with value", Top("TIME", Set({}, D::TIME, Dicom_TM("1015"))), kMacro0, 1, {}},
    {"PNAME", Top("PNAME"), kMacro0, 0, {}},
    {"UIDREF", Top("UIDREF"), kMacro0, 0, {}},
    {"UIDREF with value", Top("UIDREF", Set({}, D::UID, Dicom_UI("1.2"))), kMacro0, 1, {}},
    {"NUM, basic text", Top("NUM"), kMacro0, 1, {}},
    {"NUM", Top("NUM"), kMacro1, 0, {}},
    {"NUM without number", Top("NUM", SetSeq({}, D::MEASURED_VALUE_SEQUENCE, [] { return Items{new Dicom_Msg}; })), kMacro1, 0, {"IsNumericMeasurementValid@MEASURED_VALUE_SEQUENCE"}},
    {"NUM without units", Top("NUM", SetSeq({}, D::MEASURED_VALUE_SEQUENCE, [] { return Items{With(new Dicom_Msg, D::NUMERIC_VALUE, Dicom_DS("4.5"))}; })), kMacro2, 0, {}},
    {"NUM with units", Top("NUM", Both(SetSeq({}, D::MEASURED_VALUE_SEQUENCE, [] { return Items{With(new Dicom_Msg, D::NUMERIC_VALUE, Dicom_DS("4.5"))}; }),
     SetSeq({}, D::MEASUREMENT_UNITS_CODE_SEQUENCE, [] { return Items{Code()}; }))), kMacro1, 0, {kStrict, "IsNumericMeasurementValid@MEASURMENT_UNITS_CODE_SEQUENCE"}},
    {"CODE", Top("CODE"), kMacro0, 0, {}},
    {"CODE, two codes", Top("CODE", SetSeq({}, D::CONCEPT_CODE_SEQUENCE, [] { return Items{Code(), Code()}; })), kMacro0, 0, {"IsCodeMacroValid@CONCEPT_CODE_SEQUENCE"}},
    {"CODE, one code", Top("CODE", SetSeq({}, D::CONCEPT_CODE_SEQUENCE, [] { return Items{Code()}; })), kMacro0, 0, {kStrict, "IsCodeMacroValid@MEASURMENT_UNITS_CODE_SEQUENCE"}},
    {"COMPOSITE", Top("COMPOSITE"), kMacro0, 0, {}},
    {"COMPOSITE, empty reference", Top("COMPOSITE", SetSeq({}, D::REFERENCED_SOP_SEQUENCE, [] { return Items{}; })), kMacro0, 1, {}},
    {"COMPOSITE, null reference", Top("COMPOSITE", SetSeq({}, D::REFERENCED_SOP_SEQUENCE, [] { return Items{nullptr}; })), kMacro0, 0,
     {"IsReferenceSOPSequenceValid: Dicom_Msg of 0 seq is NULL", "IsCompositeObjectReferenceValid@REFERENCED_SOP_SEQUENCE"}},
    {"COMPOSITE, no instance", Top("COMPOSITE", SetSeq({}, D::REFERENCED_SOP_SEQUENCE, [] { return Items{With(new Dicom_Msg, D::REFERENCED_SOP_CLASS_UID, Dicom_UI("1"))}; })),
     kMacro0, 0, {"IsReferenceSOPSequenceValid@REFERENCED_SOP_INSTANCE_UID", "IsCompositeObjectReferenceValid@REFERENCED_SOP_SEQUENCE"}},
    {"WAVEFORM, no class", Top("WAVEFORM", SetSeq({}, D::REFERENCED_SOP_SEQUENCE, [] { return Items{With(new Dicom_Msg, D::REFERENCED_SOP_INSTANCE_UID, Dicom_UI("1"))}; })),
     kMacro0, 0, {"IsReferenceSOPSequenceValid@REFERENCED_SOP_CLASS_UID", "IsCompositeObjectReferenceValid@REFERENCED_SOP_SEQUENCE"}},
    {"IMAGE, not a sequence", Top("IMAGE", Set({}, D::REFERENCED_SOP_SEQUENCE, NotASequence())), kMacro0, 0, {"IsCompositeObjectReferenceValid@REFERENCED_SOP_SEQUENCE"}},
    {"SCOORD, basic text", Top("SCOORD"), kMacro0, 1, {}},
    {"SCOORD", Top("SCOORD"), kMacro1, 0, {"IsSpatialCoordinatesValid: Graphic Type is not valid"}},
    {"SCOORD without data", Top("SCOORD", Set({}, D::GRAPHIC_TYPE, Dicom_CS("POINT"))), kMacro1, 0, {"IsSpatialCoordinatesValid: Graphic Data is not valid"}},
    {"CIRCLE of 4", Graphic("CIRCLE", 4), kMacro1, 0, {"IsSpatialCoordinatesValid@CIRCLE"}},
    {"CIRCLE of 2", Graphic("CIRCLE", 2), kMacro1, 1, {}},
    {"ELLIPSE of 8", Graphic("ELLIPSE", 8), kMacro2, 0, {"IsSpatialCoordinatesValid@ELLIPSE"}},
    {"ELLIPSE of 4", Graphic("ELLIPSE", 4), kMacro2, 1, {}},
    {"POLYLINE of 5", Graphic("POLYLINE", 5), kMacro2, 1, {}},
    {"TCOORD", Top("TCOORD"), kMacro1, 1, {}},
    // the SOP instance reference of a document, through its referenced series
    {"no referenced series", nullptr, kRef, 0, {}},
    {"referenced series", Series(true, true, true), kRef, 1, {}},
    {"referenced series, no study", Both(Series(true, true, true), Drop({}, D::STUDY_INSTANCE_UID)), kRef, 0, {}},
    {"null series", SetSeq({}, D::REFERENCED_SERIES_SEQUENCE, [] { return Items{nullptr}; }), kRef, 0,
     {"IsReferenceSeriesSequenceValid: Dicom_Msg of 0 seq is NULL", "IsSRSopInstanceRefValid@REFERENCED_SERIES_SEQUENCE"}},
    {"series without uid", Series(false, true, true), kRef, 0, {"IsReferenceSeriesSequenceValid@SERIES_INSTANCE_UID", "IsSRSopInstanceRefValid@REFERENCED_SERIES_SEQUENCE"}},
    {"series without references", Series(true, false, true), kRef, 0,
     {"IsReferenceSeriesSequenceValid@REFERENCED_SOP_SEQUENCE", "IsSRSopInstanceRefValid@REFERENCED_SERIES_SEQUENCE"}},
    {"series naming no instance itself", Series(true, true, false), kRef, 0,
     {"IsReferenceSOPSequenceValid@REFERENCED_SOP_CLASS_UID", "IsReferenceSeriesSequenceValid@REFERENCED_SOP_SEQUENCE", "IsSRSopInstanceRefValid@REFERENCED_SERIES_SEQUENCE"}},
};
// clang-format on

TEST(StructuredReporting, ChecksStopAtTheFirstDefectAndNameTheItem) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        SR sr;
        FillSR(sr);
        if (c.change) c.change(sr);
        SrRecorder log;
        EXPECT_EQ(c.check(sr), c.valid);
        EXPECT_EQ(log.lines, c.records);
        EXPECT_STREQ(SR::CurrentContentItemPath(), "");
    }
}

TEST(StructuredReporting, NullSequencesAndTolerance) {
    const SR empty;
    SrRecorder log;
    EXPECT_EQ(empty.IsReferenceSeriesSequenceValid(nullptr), 0);
    EXPECT_EQ(log.lines, Lines{"IsReferenceSeriesSequenceValid: null input"});
    log.lines.clear();
    const Tolerant tolerant(1);
    // clang-format off
    const std::function<int(const SR&)> passing[] = {
        kBasic, kEnhanced, kFull, kMacro0,
        [](const SR& s) { return s.IsSRDocSeriesModuleValid(); }, [](const SR& s) { return s.IsSRDocumentModuleValid(); },
        [](const SR& s) { return s.IsSRDocumentContentModuleValid(SR::SR_ENHANCED); },
        [](const SR& s) { return s.IsSRDocumentRelationshipValid(SR::SR_ENHANCED); },
        [](const SR& s) { return s.IsNumericMeasurementValid(); }, [](const SR& s) { return s.IsCodeMacroValid(); },
        [](const SR& s) { return s.IsCompositeObjectReferenceValid(); }, [](const SR& s) { return s.IsImageReferenceValid(); },
        [](const SR& s) { return s.IsSpatialCoordinatesValid(); }, [](const SR& s) { return s.IsReferenceSeriesSequenceValid(nullptr); }};
    // clang-format on
    for (const auto& call : passing) EXPECT_EQ(call(empty), 1);
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(empty.IsReferenceSOPSequenceValid(nullptr), 0);  // these never consult it
    EXPECT_EQ(empty.IsSRSopInstanceRefValid(), 0);
    EXPECT_EQ(log.lines, Lines{"IsReferenceSOPSequenceValid: null input"});
}

}  // namespace
