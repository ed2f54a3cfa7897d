// The SR document validators of IOD_StructuredReporting over documents built in memory: each
// check stops at its first defect with its exact record, the content tree is followed by value
// and not by reference, depth is bounded, and the path of the item in fault is readable by a sink.
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

// --- building documents ---

Dicom_Msg* With(Dicom_Msg* m, const Dicom_Tag& tag, Dicom_Type&& value) {
    m->Set(tag, &value);
    return m;
}
Dicom_Msg* Seq(Dicom_Msg* m, const Dicom_Tag& tag, const std::vector<Dicom_Msg*>& items) {
    auto* sq = new Dicom_SQ;
    for (Dicom_Msg* item : items) sq->AddItem(item);
    m->SetWithoutDataCopy(tag, sq);
    return m;
}
Dicom_Msg* Code(const char* value) {  // a code item whose own checks pass
    return With(With(new Dicom_Msg, D::CODE_VALUE, Dicom_SH(value, nullptr)), D::CODING_SCHEME_DESIGNATOR,
                Dicom_SH("DCM", nullptr));
}
Dicom_Msg* SopRef() {
    return With(
        With(new Dicom_Msg, D::REFERENCED_SOP_CLASS_UID, Dicom_UI("1.2.840.10008.5.1.4.1.1.2", nullptr)),
        D::REFERENCED_SOP_INSTANCE_UID, Dicom_UI("1.2.3.9", nullptr));
}
// Two bytes of unknown VR where a sequence is expected.
Dicom_UN NotASequence() {
    static char bytes[] = "xy";
    return Dicom_UN(bytes, 2, 1, nullptr);
}
// A content item: its relationship, value type and an empty concept name (which passes).
Dicom_Msg* Item(const char* relationship, const char* type, const std::vector<Dicom_Msg*>& children = {}) {
    Dicom_Msg* m = With(new Dicom_Msg, D::VALUE_TYPE, Dicom_CS(type, nullptr));
    if (relationship != nullptr) With(m, D::RELATIONSHIP_TYPE, Dicom_CS(relationship, nullptr));
    Seq(m, D::CONCEPT_NAME_CODE_SEQUENCE, {});
    if (!children.empty()) Seq(m, D::CONTENT_SEQUENCE, children);
    return m;
}
Dicom_Msg* Text(const char* relationship, const char* text) {
    return With(Item(relationship, "TEXT"), D::TEXT_VALUE, Dicom_UT(text, nullptr));
}
Dicom_Msg* Point(const std::vector<float>& data, const char* type = "POINT") {
    return With(With(Item("CONTAINS", "SCOORD"), D::GRAPHIC_TYPE, Dicom_CS(type, nullptr)), D::GRAPHIC_DATA,
                Dicom_FL(data));
}

// A comprehensive SR document that every check accepts:
//   CONTAINER
//   [0] CONTAINS TEXT
//   [1] CONTAINS CONTAINER: [0] CONTAINS TEXT, [1] HAS PROPERTIES PNAME
//   [2] HAS OBS CONTEXT DATE (observed at another time than the content: its own date time)
//   [3] CONTAINS SCOORD POINT: [0] SELECTED FROM IMAGE
//   [4] INFERRED FROM, by reference to [0] (not followed: it names no value type)
void FillSR(Dicom_Msg& sr) {
    With(&sr, D::PATIENT_NAME, Dicom_PN("Doe^Jane", nullptr));
    With(&sr, D::PATIENT_ID, Dicom_LO("P-1", nullptr));
    With(&sr, D::PATIENT_BIRTH_DATE, Dicom_DA("19700101", nullptr));
    With(&sr, D::PATIENT_SEX, Dicom_CS("F", nullptr));
    With(&sr, D::STUDY_INSTANCE_UID, Dicom_UI("1.2.3.4", nullptr));
    With(&sr, D::STUDY_DATE, Dicom_DA("20240102", nullptr));
    With(&sr, D::STUDY_TIME, Dicom_TM("101500", nullptr));
    With(&sr, D::REFERRING_PHYSICIAN_NAME, Dicom_PN("", nullptr));
    With(&sr, D::STUDY_ID, Dicom_SH("S1", nullptr));
    With(&sr, D::ACCESSION_NUMBER, Dicom_SH("", nullptr));
    With(&sr, D::MODALITY, Dicom_CS("SR", nullptr));
    With(&sr, D::SERIES_INSTANCE_UID, Dicom_UI("1.2.3.4.1", nullptr));
    With(&sr, D::SERIES_NUMBER, Dicom_IS(1));
    Seq(&sr, D::REFERENCED_PERFORMED_PROCEDURE_STEP_SEQUENCE, {});
    With(&sr, D::MANUFACTURER, Dicom_LO("ACME", nullptr));
    With(&sr, D::INSTANCE_NUMBER, Dicom_IS(1));
    With(&sr, D::COMPLETION_FLAG, Dicom_CS("COMPLETE", nullptr));
    With(&sr, D::VERIFICATION_FLAG, Dicom_CS("UNVERIFIED", nullptr));
    With(&sr, D::CONTENT_DATE, Dicom_DA("20240102", nullptr));
    With(&sr, D::CONTENT_TIME, Dicom_TM("101500", nullptr));
    With(&sr, D::OBSERVATION_DATE_TIME, Dicom_DT("20240102101500", nullptr));
    With(&sr, D::VALUE_TYPE, Dicom_CS("CONTAINER", nullptr));
    Dicom_Msg* date = With(With(Item("HAS OBS CONTEXT", "DATE"), D::DATE, Dicom_DA("20240101", nullptr)),
                           D::OBSERVATION_DATE_TIME, Dicom_DT("20240101", nullptr));
    Dicom_Msg* image = Seq(Item("SELECTED FROM", "IMAGE"), D::REFERENCED_SOP_SEQUENCE, {SopRef()});
    Dicom_Msg* reference = With(With(new Dicom_Msg, D::RELATIONSHIP_TYPE, Dicom_CS("INFERRED FROM", nullptr)),
                                D::REFERENCED_CONTENT_ITEM_IDENTIFIER, Dicom_UL(1u));
    Seq(&sr, D::CONTENT_SEQUENCE,
        {Text("CONTAINS", "Findings"),
         Item("CONTAINS", "CONTAINER",
              {Text("CONTAINS", "Nested"),
               With(Item("HAS PROPERTIES", "PNAME"), D::PERSON_NAME, Dicom_PN("Doe^John", nullptr))}),
         date, Seq(Point({1.f, 2.f}), D::CONTENT_SEQUENCE, {image}), reference});
}

// Content item `path` (item numbers, level by level) of `m`, ready to be changed.
Dicom_Msg* At(Dicom_Msg& m, std::initializer_list<int> path) {
    Dicom_Msg* at = &m;
    for (int i : path)
        at = static_cast<Dicom_SQ*>(at->Find(D::CONTENT_SEQUENCE)->GetChangeableData())->GetItem(i);
    return at;
}

// A chain of `levels` content items, each holding the next.
Dicom_Msg* Chain(int levels) {
    Dicom_Msg* inner = nullptr;
    for (int i = 0; i < levels; ++i) {
        inner = inner == nullptr ? Item("CONTAINS", "CONTAINER") : Item("CONTAINS", "CONTAINER", {inner});
    }
    return inner;
}

// --- what the validators log ---

// The records of category 19 at level 4 or below, each with the content item path that a sink
// read when the record was delivered. A record of IOD_StructuredReporting must come from its
// source file at level 4, and is written without the class: its own message as it stands (the
// text names its function), or "Function@NAME" for the "File: ... Line: ... Attribute:NAME not
// valid" form after its file and line are checked. Other records: "function: text".
class SrRecorder {
public:
    SrRecorder() : log_(7) {
        handle_ = KvlGLog.AddSink([this](const Kvl_LogRecord& r) {
            if (r.category != 19 || r.level > 4) return;
            lines.push_back(Render(r));
            paths.emplace_back(SR::CurrentContentItemPath());
        });
    }
    ~SrRecorder() { KvlGLog.RemoveSink(handle_); }
    Lines lines, paths;

private:
    static std::string Render(const Kvl_LogRecord& r) {
        const std::string cls = "IOD_StructuredReporting::";
        if (r.function.rfind(cls, 0) != 0) return r.function + ": " + r.text;
        if (r.file != "src/IOD/IOD_StructuredReporting" || r.level != 4) return "misplaced: " + r.text;
        const std::string fn = r.function.substr(cls.size());
        const std::string form = "File: " + r.file + " Line: " + std::to_string(r.line) + " Attribute:";
        const std::string tail = " not valid";
        if (r.text.rfind(form, 0) == 0 && r.text.size() > form.size() + tail.size() &&
            r.text.compare(r.text.size() - tail.size(), tail.size(), tail) == 0) {
            return fn + "@" + r.text.substr(form.size(), r.text.size() - form.size() - tail.size());
        }
        return r.text.rfind(fn + ": ", 0) == 0 ? r.text : "misnamed " + r.function + ": " + r.text;
    }
    LogRecorder log_;
    int handle_;
};

const std::string kStrict =
    "IOD_Image::IsCodingValueOfSequenceValid: IsCodingValueOfSequenceValid: invalid Coding "
    "Scheme Designator";

using Change = std::function<void(Dicom_Msg&)>;
using Check = std::function<int(const SR&)>;

struct Case {
    const char* what;
    Change change;  // applied to the complete document of FillSR
    Check check;
    int valid;
    Lines records;
    const char* where;  // the content item path of every record
};

Change Drop(const Dicom_Tag& tag) {
    return [tag](Dicom_Msg& m) { m.Remove(tag); };
}
Change Put(std::initializer_list<int> path, const Dicom_Tag& tag, const Dicom_Type& value) {
    std::shared_ptr<Dicom_Type> v(value.Clone());
    return [path = std::vector<int>(path), tag, v](Dicom_Msg& m) {
        Dicom_Msg* at = &m;
        for (int i : path) at = At(*at, {i});
        at->Set(tag, v.get());
    };
}
Change DropAt(std::initializer_list<int> path, const Dicom_Tag& tag) {
    return [path = std::vector<int>(path), tag](Dicom_Msg& m) {
        Dicom_Msg* at = &m;
        for (int i : path) at = At(*at, {i});
        at->Remove(tag);
    };
}
Change Content(std::function<std::vector<Dicom_Msg*>()> items) {
    return [items](Dicom_Msg& m) { Seq(&m, D::CONTENT_SEQUENCE, items()); };
}
Change Both(Change a, Change b) {
    return [a, b](Dicom_Msg& m) {
        a(m);
        b(m);
    };
}

const Check kComprehensive = [](const SR& s) { return s.IsComprehensiveSRValid(); };
const Check kBasic = [](const SR& s) { return s.IsBasicTextSRValid(); };
Check Macro(SR::SR_Kinds kind) {
    return [kind](const SR& s) { return s.IsSRDocumentContentMacroValid(kind); };
}
// The top level of a document as a content item of value type `type` with an empty concept
// name, then `more`.
Change Top(
    const char* type, Change more = [](Dicom_Msg&) {}) {
    return [type, more](Dicom_Msg& m) {
        With(&m, D::VALUE_TYPE, Dicom_CS(type, nullptr));
        Seq(&m, D::CONCEPT_NAME_CODE_SEQUENCE, {});
        more(m);
    };
}

const Case kCases[] = {
    {"complete document", nullptr, kComprehensive, 1, {}, ""},
    {"complete, basic text", nullptr, kBasic, 1, {}, ""},
    {"complete, enhanced", nullptr, [](const SR& s) { return s.IsEnhancedSRValid(); }, 1, {}, ""},
    // document modules, in their order, up to the first defect
    {"no patient sex",
     Drop(D::PATIENT_SEX),
     kComprehensive,
     0,
     {"IOD_Image::IsPatientModuleValid: IsPatientModuleValid: Patients Sex is not found"},
     ""},
    {"no modality, no series number: the first only",
     Both(Drop(D::MODALITY), Drop(D::SERIES_NUMBER)),
     kComprehensive,
     0,
     {"IsSRDocSeriesModuleValid: Modality is not valid"},
     ""},
    {"empty series uid",
     Put({}, D::SERIES_INSTANCE_UID, Dicom_UI()),
     kComprehensive,
     0,
     {"IsSRDocSeriesModuleValid: Series Instance UID is not valid"},
     ""},
    {"no series number",
     Drop(D::SERIES_NUMBER),
     kComprehensive,
     0,
     {"IsSRDocSeriesModuleValid: Series Number is not valid"},
     ""},
    {"no performed procedure step",
     Drop(D::REFERENCED_PERFORMED_PROCEDURE_STEP_SEQUENCE),
     kComprehensive,
     0,
     {"IsSRDocSeriesModuleValid: referenced study seq was not found"},
     ""},
    {"no manufacturer",
     Drop(D::MANUFACTURER),
     kComprehensive,
     0,
     {"IOD_Image::IsGeneralEquipmentModuleValid: IsGeneralEquipmentModuleValid: Manufacturer is not found"},
     ""},
    {"no instance number",
     Drop(D::INSTANCE_NUMBER),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: Instance Number is not valid"},
     ""},
    {"no completion flag",
     Drop(D::COMPLETION_FLAG),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: completion flag is not valid"},
     ""},
    {"no verification flag",
     Drop(D::VERIFICATION_FLAG),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: verification flag is not valid"},
     ""},
    {"no content date",
     Drop(D::CONTENT_DATE),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: content date is not valid"},
     ""},
    {"no content time",
     Drop(D::CONTENT_TIME),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: content time is not valid"},
     ""},
    {"verified without verifier",
     Put({}, D::VERIFICATION_FLAG, Dicom_CS("VERIFIED", nullptr)),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: verification date time is not valid"},
     ""},
    {"verified, date time only",
     Both(Put({}, D::VERIFICATION_FLAG, Dicom_CS("VERIFIED", nullptr)),
          Put({}, D::VERIFICATION_DATE_TIME, Dicom_DT("20240102101500", nullptr))),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: documenting observer is not valid"},
     ""},
    {"verified, no organization",
     Both(Both(Put({}, D::VERIFICATION_FLAG, Dicom_CS("VERIFIED", nullptr)),
               Put({}, D::VERIFICATION_DATE_TIME, Dicom_DT("20240102101500", nullptr))),
          Put({}, D::VERIFYING_OBSERVER_NAME, Dicom_PN("Who^Doctor", nullptr))),
     kComprehensive,
     0,
     {"IsSRDocumentModuleValid: documenting organization is not valid"},
     ""},
    // observation time
    {"content observed at another time, no observation date time",
     Drop(D::OBSERVATION_DATE_TIME),
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid: observation date time invalid"},
     ""},
    {"date and time those of the content",
     Both(Both(Drop(D::OBSERVATION_DATE_TIME), Put({}, D::DATE, Dicom_DA("20240102", nullptr))),
          Put({}, D::TIME, Dicom_TM("101500", nullptr))),
     kComprehensive,
     1,
     {},
     ""},
    {"DATE item without its own observation date time",
     DropAt({2}, D::OBSERVATION_DATE_TIME),
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid: observation date time invalid"},
     "ContentSequence[2]"},
    // content template
    {"two templates",
     [](Dicom_Msg& m) {
         Seq(&m, D::CONTENT_TEMPLATE_SEQUENCE, {new Dicom_Msg, new Dicom_Msg});
     },
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid@CONTENT_TEMPLATE_SEQUENCE"},
     ""},
    {"template without identifier",
     [](Dicom_Msg& m) { Seq(&m, D::CONTENT_TEMPLATE_SEQUENCE, {new Dicom_Msg}); },
     kComprehensive,
     0,
     {"IOD_Image::IsTemplateIdentMacroValid: IsTemplateIdentMacroValid: template identifier is not valid",
      "IsSRDocumentRelationshipValid@CONTENT_TEMPLATE_SEQUENCE"},
     ""},
    {"null template item",
     [](Dicom_Msg& m) { Seq(&m, D::CONTENT_TEMPLATE_SEQUENCE, {nullptr}); },
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid: Dicom_Msg of seq is NULL"},
     ""},
    {"valid template",
     [](Dicom_Msg& m) {
         Seq(&m, D::CONTENT_TEMPLATE_SEQUENCE,
             {With(With(new Dicom_Msg, D::TEMPLATE_IDENTIFIER, Dicom_CS("2000", nullptr)),
                   D::MAPPING_RESOURCE, Dicom_CS("DCMR", nullptr))});
     },
     kComprehensive,
     1,
     {},
     ""},
    {"template that holds no sequence: content items not examined",
     Both(Put({}, D::CONTENT_TEMPLATE_SEQUENCE, NotASequence()), DropAt({0}, D::RELATIONSHIP_TYPE)),
     kComprehensive,
     1,
     {},
     ""},
    // content items
    {"null content item",
     Content([] {
         return std::vector<Dicom_Msg*>{Text("CONTAINS", "a"), nullptr};
     }),
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid: Dicom_Msg of 1 seq is NULL"},
     "ContentSequence[1]"},
    {"nested item without relationship",
     DropAt({1, 1}, D::RELATIONSHIP_TYPE),
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE"},
     "ContentSequence[1]/ContentSequence[1]"},
    {"empty relationship",
     Put({3, 0}, D::RELATIONSHIP_TYPE, Dicom_CS()),
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE"},
     "ContentSequence[3]/ContentSequence[0]"},
    {"containment by reference",
     Put({1}, D::REFERENCED_CONTENT_ITEM_IDENTIFIER, Dicom_UL(1u)),
     kComprehensive,
     0,
     {"IsSRDocumentRelationshipValid@REFERENCED_CONTENT_ITEM_IDENTIFIER"},
     "ContentSequence[1]"},
    {"by-value item without value type: followed, silent",
     DropAt({4}, D::REFERENCED_CONTENT_ITEM_IDENTIFIER),
     kComprehensive,
     0,
     {},
     ""},
    {"descendants before the item's own macro",
     Both(
         Both(Put({1}, D::VALUE_TYPE, Dicom_CS("TEXT", nullptr)), DropAt({1}, D::CONCEPT_NAME_CODE_SEQUENCE)),
         DropAt({1, 1}, D::RELATIONSHIP_TYPE)),
     kBasic,
     0,
     {"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE"},
     "ContentSequence[1]/ContentSequence[1]"},
    {"item's own macro after its descendants",
     Both(Put({1}, D::VALUE_TYPE, Dicom_CS("TEXT", nullptr)), DropAt({1}, D::CONCEPT_NAME_CODE_SEQUENCE)),
     kBasic,
     0,
     {"IsSRDocumentContentMacroValid@CONCEPT_NAME_CODE_SEQUENCE"},
     "ContentSequence[1]"},
    {"nested NUM, enhanced: measured",
     Content([] { return std::vector<Dicom_Msg*>{Item("CONTAINS", "NUM")}; }),
     kComprehensive,
     0,
     {},
     ""},
    {"nested NUM, basic text: not measured",
     Content([] { return std::vector<Dicom_Msg*>{Item("CONTAINS", "NUM")}; }),
     kBasic,
     1,
     {},
     ""},
    {"SCOORD item with three numbers",
     Put({3}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{1, 2, 3})),
     kComprehensive,
     0,
     {"IsSpatialCoordinatesValid@POINT"},
     "ContentSequence[3]"},
    {"SCOORD in basic text: not counted",
     Put({3}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{1, 2, 3})),
     kBasic,
     1,
     {},
     ""},
    {"IMAGE item without reference: silent",
     DropAt({3, 0}, D::REFERENCED_SOP_SEQUENCE),
     kComprehensive,
     0,
     {},
     ""},
    {"128 levels", Content([] { return std::vector<Dicom_Msg*>{Chain(128)}; }), kComprehensive, 1, {}, ""},
    // content item macro on the top level of a data set
    {"no value type", Drop(D::VALUE_TYPE), Macro(SR::SR_ENHANCED), 0, {}, ""},
    {"TEXT without concept name",
     Top("TEXT", Drop(D::CONCEPT_NAME_CODE_SEQUENCE)),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {"IsSRDocumentContentMacroValid@CONCEPT_NAME_CODE_SEQUENCE"},
     ""},
    {"TEXT, one coded concept name: the strict check rejects it",
     Top("TEXT", [](Dicom_Msg& m) { Seq(&m, D::CONCEPT_NAME_CODE_SEQUENCE, {Code("121071")}); }),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {kStrict, "IsSRDocumentContentMacroValid@IsSRDocumentContentMacroValid"},
     ""},
    {"TEXT, two concept names pass unchecked",
     Top("TEXT", Both(Put({}, D::TEXT_VALUE, Dicom_UT("x", nullptr)),
                      [](Dicom_Msg& m) {
                          Seq(&m, D::CONCEPT_NAME_CODE_SEQUENCE, {new Dicom_Msg, new Dicom_Msg});
                      })),
     Macro(SR::SR_BASIC_TEXT),
     1,
     {},
     ""},
    {"TEXT without text",
     Top("TEXT", [](Dicom_Msg& m) { Seq(&m, D::CONCEPT_NAME_CODE_SEQUENCE, {}); }),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {},
     ""},
    {"DATETIME without value",
     Top("DATETIME", [](Dicom_Msg& m) { Seq(&m, D::CONCEPT_NAME_CODE_SEQUENCE, {}); }),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {},
     ""},
    {"DATETIME",
     Top("DATETIME", Put({}, D::DATE_TIME, Dicom_DT("2024", nullptr))),
     Macro(SR::SR_BASIC_TEXT),
     1,
     {},
     ""},
    {"DATE without value", Top("DATE"), Macro(SR::SR_BASIC_TEXT), 0, {}, ""},
    {"TIME without value", Top("TIME"), Macro(SR::SR_BASIC_TEXT), 0, {}, ""},
    {"TIME", Top("TIME", Put({}, D::TIME, Dicom_TM("1015", nullptr))), Macro(SR::SR_BASIC_TEXT), 1, {}, ""},
    {"PNAME without value", Top("PNAME"), Macro(SR::SR_BASIC_TEXT), 0, {}, ""},
    {"UIDREF without value", Top("UIDREF"), Macro(SR::SR_BASIC_TEXT), 0, {}, ""},
    {"UIDREF", Top("UIDREF", Put({}, D::UID, Dicom_UI("1.2", nullptr))), Macro(SR::SR_BASIC_TEXT), 1, {}, ""},
    {"NUM, basic text", Top("NUM"), Macro(SR::SR_BASIC_TEXT), 1, {}, ""},
    {"NUM, enhanced, no measured value", Top("NUM"), Macro(SR::SR_ENHANCED), 0, {}, ""},
    {"NUM, value without number",
     Top("NUM", [](Dicom_Msg& m) { Seq(&m, D::MEASURED_VALUE_SEQUENCE, {new Dicom_Msg}); }),
     Macro(SR::SR_ENHANCED),
     0,
     {"IsNumericMeasurementValid@MEASURED_VALUE_SEQUENCE"},
     ""},
    {"NUM, number without units",
     Top("NUM",
         [](Dicom_Msg& m) {
             Seq(&m, D::MEASURED_VALUE_SEQUENCE,
                 {With(new Dicom_Msg, D::NUMERIC_VALUE, Dicom_DS("4.5", nullptr))});
         }),
     Macro(SR::SR_COMPREHENSIVE),
     0,
     {},
     ""},
    {"NUM, units of the data set checked strictly",
     Top("NUM",
         [](Dicom_Msg& m) {
             Seq(&m, D::MEASURED_VALUE_SEQUENCE,
                 {With(new Dicom_Msg, D::NUMERIC_VALUE, Dicom_DS("4.5", nullptr))});
             Seq(&m, D::MEASUREMENT_UNITS_CODE_SEQUENCE, {Code("mm")});
         }),
     Macro(SR::SR_ENHANCED),
     0,
     {kStrict, "IsNumericMeasurementValid@MEASURMENT_UNITS_CODE_SEQUENCE"},
     ""},
    {"CODE without concept code", Top("CODE"), Macro(SR::SR_BASIC_TEXT), 0, {}, ""},
    {"CODE, two concept codes",
     Top("CODE",
         [](Dicom_Msg& m) {
             Seq(&m, D::CONCEPT_CODE_SEQUENCE, {Code("1"), Code("2")});
         }),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {"IsCodeMacroValid@CONCEPT_CODE_SEQUENCE"},
     ""},
    {"CODE, one concept code",
     Top("CODE", [](Dicom_Msg& m) { Seq(&m, D::CONCEPT_CODE_SEQUENCE, {Code("1")}); }),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {kStrict, "IsCodeMacroValid@MEASURMENT_UNITS_CODE_SEQUENCE"},
     ""},
    {"COMPOSITE without reference", Top("COMPOSITE"), Macro(SR::SR_BASIC_TEXT), 0, {}, ""},
    {"COMPOSITE, empty reference",
     Top("COMPOSITE", [](Dicom_Msg& m) { Seq(&m, D::REFERENCED_SOP_SEQUENCE, {}); }),
     Macro(SR::SR_BASIC_TEXT),
     1,
     {},
     ""},
    {"WAVEFORM, reference without class",
     Top("WAVEFORM",
         [](Dicom_Msg& m) {
             Seq(&m, D::REFERENCED_SOP_SEQUENCE,
                 {With(new Dicom_Msg, D::REFERENCED_SOP_INSTANCE_UID, Dicom_UI("1.2", nullptr))});
         }),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {"IsReferenceSOPSequenceValid@REFERENCED_SOP_CLASS_UID",
      "IsCompositeObjectReferenceValid@REFERENCED_SOP_SEQUENCE"},
     ""},
    {"IMAGE, reference that holds no sequence",
     Top("IMAGE", Put({}, D::REFERENCED_SOP_SEQUENCE, NotASequence())),
     Macro(SR::SR_BASIC_TEXT),
     0,
     {"IsCompositeObjectReferenceValid@REFERENCED_SOP_SEQUENCE"},
     ""},
    {"SCOORD, basic text", Top("SCOORD"), Macro(SR::SR_BASIC_TEXT), 1, {}, ""},
    {"SCOORD without graphic type",
     Top("SCOORD"),
     Macro(SR::SR_ENHANCED),
     0,
     {"IsSpatialCoordinatesValid: Graphic Type is not valid"},
     ""},
    {"SCOORD without graphic data",
     Top("SCOORD", Put({}, D::GRAPHIC_TYPE, Dicom_CS("POINT", nullptr))),
     Macro(SR::SR_ENHANCED),
     0,
     {"IsSpatialCoordinatesValid: Graphic Data is not valid"},
     ""},
    {"CIRCLE of four numbers",
     Top("SCOORD", Both(Put({}, D::GRAPHIC_TYPE, Dicom_CS("CIRCLE", nullptr)),
                        Put({}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{1, 2, 3, 4})))),
     Macro(SR::SR_ENHANCED),
     0,
     {"IsSpatialCoordinatesValid@CIRCLE"},
     ""},
    {"ELLIPSE of eight numbers",
     Top("SCOORD", Both(Put({}, D::GRAPHIC_TYPE, Dicom_CS("ELLIPSE", nullptr)),
                        Put({}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>(8, 1.f))))),
     Macro(SR::SR_COMPREHENSIVE),
     0,
     {"IsSpatialCoordinatesValid@ELLIPSE"},
     ""},
    {"ELLIPSE of four numbers",
     Top("SCOORD", Both(Put({}, D::GRAPHIC_TYPE, Dicom_CS("ELLIPSE", nullptr)),
                        Put({}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>(4, 1.f))))),
     Macro(SR::SR_COMPREHENSIVE),
     1,
     {},
     ""},
    {"POLYLINE: not counted",
     Top("SCOORD", Both(Put({}, D::GRAPHIC_TYPE, Dicom_CS("POLYLINE", nullptr)),
                        Put({}, D::GRAPHIC_DATA, Dicom_FL(std::vector<float>(5, 1.f))))),
     Macro(SR::SR_COMPREHENSIVE),
     1,
     {},
     ""},
    {"TCOORD, unchecked", Top("TCOORD"), Macro(SR::SR_ENHANCED), 1, {}, ""},
};

TEST(StructuredReporting, ChecksStopAtTheFirstDefectAndNameTheItem) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        SR sr;
        FillSR(sr);
        if (c.change) c.change(sr);
        SrRecorder log;
        EXPECT_EQ(c.check(sr), c.valid);
        EXPECT_EQ(log.lines, c.records);
        for (const std::string& p : log.paths) EXPECT_EQ(p, c.where);
        EXPECT_STREQ(SR::CurrentContentItemPath(), "");
    }
}

TEST(StructuredReporting, DepthIsBounded) {
    SR sr;
    FillSR(sr);
    Seq(&sr, D::CONTENT_SEQUENCE, {Chain(SR::kMaxContentItemDepth + 1)});
    std::string where = "ContentSequence[0]";
    for (int i = 1; i < SR::kMaxContentItemDepth + 1; ++i) where += "/ContentSequence[0]";
    SrRecorder log;
    EXPECT_EQ(sr.IsComprehensiveSRValid(), 0);
    EXPECT_EQ(log.lines, Lines{"IsSRDocumentRelationshipValid: content item nested deeper than 128 levels"});
    EXPECT_EQ(log.paths, Lines{where});
}

TEST(StructuredReporting, ReferenceSequences) {
    auto series = [](Dicom_Msg* item) {
        Dicom_Sequence s;
        s.Append(item);
        return s;
    };
    auto full = [] {
        return Seq(With(SopRef(), D::SERIES_INSTANCE_UID, Dicom_UI("1.2.3", nullptr)),
                   D::REFERENCED_SOP_SEQUENCE, {SopRef()});
    };
    struct RefCase {
        std::function<int(const SR&, Dicom_Sequence*)> check;
        Dicom_Sequence* sequence;
        int valid;
        Lines records;
    };
    Dicom_Sequence empty, nullItem = series(nullptr), fine = series(full());
    Dicom_Sequence noUid = series(full()), noSop = series(full()), noClass = series(full()),
                   noInstance = series(SopRef());
    noUid.Get(0)->Remove(D::SERIES_INSTANCE_UID);
    noSop.Get(0)->Remove(D::REFERENCED_SOP_SEQUENCE);
    noClass.Get(0)->Remove(D::REFERENCED_SOP_CLASS_UID);  // of the series item itself
    noInstance.Get(0)->Remove(D::REFERENCED_SOP_INSTANCE_UID);
    auto sop = [](const SR& s, Dicom_Sequence* q) { return s.IsReferenceSOPSequenceValid(q); };
    auto ser = [](const SR& s, Dicom_Sequence* q) { return s.IsReferenceSeriesSequenceValid(q); };
    const RefCase cases[] = {
        {sop, nullptr, 0, {"IsReferenceSOPSequenceValid: null input"}},
        {sop, &empty, 1, {}},
        {sop, &nullItem, 0, {"IsReferenceSOPSequenceValid: Dicom_Msg of 0 seq is NULL"}},
        {sop, &noInstance, 0, {"IsReferenceSOPSequenceValid@REFERENCED_SOP_INSTANCE_UID"}},
        {ser, nullptr, 0, {"IsReferenceSeriesSequenceValid: null input"}},
        {ser, &empty, 1, {}},
        {ser, &nullItem, 0, {"IsReferenceSeriesSequenceValid: Dicom_Msg of 0 seq is NULL"}},
        {ser, &noUid, 0, {"IsReferenceSeriesSequenceValid@SERIES_INSTANCE_UID"}},
        {ser, &noSop, 0, {"IsReferenceSeriesSequenceValid@REFERENCED_SOP_SEQUENCE"}},
        {ser,
         &noClass,
         0,
         {"IsReferenceSOPSequenceValid@REFERENCED_SOP_CLASS_UID",
          "IsReferenceSeriesSequenceValid@REFERENCED_SOP_SEQUENCE"}},
        {ser, &fine, 1, {}},
    };
    SR sr;
    for (const RefCase& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.records));
        SrRecorder log;
        EXPECT_EQ(c.check(sr, c.sequence), c.valid);
        EXPECT_EQ(log.lines, c.records);
    }
    // The SOP instance reference of a document: its study and referenced series.
    With(&sr, D::STUDY_INSTANCE_UID, Dicom_UI("1.2.3", nullptr));
    EXPECT_EQ(sr.IsSRSopInstanceRefValid(), 0);  // no series: silent
    Seq(&sr, D::REFERENCED_SERIES_SEQUENCE, {full()});
    EXPECT_EQ(sr.IsSRSopInstanceRefValid(), 1);
    sr.Remove(D::STUDY_INSTANCE_UID);
    SrRecorder log;
    EXPECT_EQ(sr.IsSRSopInstanceRefValid(), 0);
    Seq(&sr, D::REFERENCED_SERIES_SEQUENCE,
        {With(new Dicom_Msg, D::SERIES_INSTANCE_UID, Dicom_UI("1", nullptr))});
    With(&sr, D::STUDY_INSTANCE_UID, Dicom_UI("1.2.3", nullptr));
    EXPECT_EQ(sr.IsSRSopInstanceRefValid(), 0);
    EXPECT_EQ(log.lines, (Lines{"IsReferenceSeriesSequenceValid@REFERENCED_SOP_SEQUENCE",
                                "IsSRSopInstanceRefValid@REFERENCED_SERIES_SEQUENCE"}));
}

TEST(StructuredReporting, TolerantPassesWithoutReadingExceptWhereNot) {
    const Tolerant tolerant(1);
    const SR empty;
    SrRecorder log;
    using Call = int (*)(const SR&);
    const Call passing[] = {
        [](const SR& s) { return s.IsBasicTextSRValid(); },
        [](const SR& s) { return s.IsEnhancedSRValid(); },
        [](const SR& s) { return s.IsComprehensiveSRValid(); },
        [](const SR& s) { return s.IsSRDocSeriesModuleValid(); },
        [](const SR& s) { return s.IsSRDocumentModuleValid(); },
        [](const SR& s) { return s.IsSRDocumentContentModuleValid(SR::SR_ENHANCED); },
        [](const SR& s) { return s.IsSRDocumentRelationshipValid(SR::SR_ENHANCED); },
        [](const SR& s) { return s.IsSRDocumentContentMacroValid(SR::SR_BASIC_TEXT); },
        [](const SR& s) { return s.IsNumericMeasurementValid(); },
        [](const SR& s) { return s.IsCodeMacroValid(); },
        [](const SR& s) { return s.IsCompositeObjectReferenceValid(); },
        [](const SR& s) { return s.IsImageReferenceValid(); },
        [](const SR& s) { return s.IsSpatialCoordinatesValid(); },
        [](const SR& s) { return s.IsReferenceSeriesSequenceValid(nullptr); },
    };
    for (Call call : passing) EXPECT_EQ(call(empty), 1);
    EXPECT_TRUE(log.lines.empty());
    // These never consult the tolerance.
    EXPECT_EQ(empty.IsReferenceSOPSequenceValid(nullptr), 0);
    EXPECT_EQ(empty.IsSRSopInstanceRefValid(), 0);
    EXPECT_EQ(log.lines, Lines{"IsReferenceSOPSequenceValid: null input"});
}

TEST(StructuredReporting, PathSurvivesAnEncodedDocument) {
    SR built;
    FillSR(built);
    DropAt({1, 1}, D::RELATIONSHIP_TYPE)(built);
    std::vector<unsigned char> bytes;
    ASSERT_EQ(built.Encode(bytes), 0);
    int status = -1;
    const SR parsed(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    ASSERT_EQ(status, 0);
    SrRecorder log;
    EXPECT_EQ(parsed.IsComprehensiveSRValid(), 0);
    EXPECT_EQ(log.lines, Lines{"IsSRDocumentRelationshipValid@RELATIONSHIP_TYPE"});
    EXPECT_EQ(log.paths, Lines{"ContentSequence[1]/ContentSequence[1]"});
}

}  // namespace
