// IOD_TomosynthesisHelper: hanging, display groups, view labels and the configuration-driven
// update of mammography images.
#include <CFG/CFG.h>
#include <Dicom/Dicom_Condition.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <IOD/IOD_Image.h>
#include <IOD/IOD_TomosynthesisHelper.h>
#include <KvlLog/Kvl_LogFile.h>
#include <ThreadTools/ThreadAPI_LockGuard.h>

#include <cctype>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

constexpr const char* kLogFile = "src/IOD/IOD_TomosynthesisHelper";
constexpr int kLogCategory = 19;

// One log site of this file: `function` is the member name without the class.
#define MAMMO_LOG(function, level, ...) \
    KVL_LOG(kLogFile, "IOD_TomosynthesisHelper::" function, level, kLogCategory, __VA_ARGS__)

// Breast Tomosynthesis Image Storage.
const Dicom_UI kTomosynthesisSopClass("1.2.840.10008.5.1.4.1.1.13.1.3");

// The value of `tag` when it is present and not equal to the null value `null`, else null.
const Dicom_Type* NotNull(const IOD_Msg& msg, const Dicom_Tag& tag, const Dicom_Type& null) {
    const Dicom_Type* v = msg.Get(tag);
    return v != nullptr && *v != null ? v : nullptr;
}

// The value of `tag` in item 0 of the sequence `sequence` of `msg`, or null.
const Dicom_Type* InFirstItem(const Dicom_Msg& msg, const Dicom_Tag& sequence, const Dicom_Tag& tag) {
    const Dicom_Msg* item = Dicom_Helper(msg).GetSequenceMsg(sequence, 0);
    return item != nullptr ? item->Get(tag) : nullptr;
}

// (0020,9072) Frame Laterality in item 0 of the Frame Anatomy Sequence in item 0 of the Shared
// Functional Groups Sequence, or null.
const Dicom_Type* SharedFrameLaterality(const IOD_Msg& msg) {
    const Dicom_Msg* shared =
        Dicom_Helper(msg).GetSequenceMsg(Dicom_Dictionary::SHARED_FUNCTIONAL_GROUPS_SEQUENCE, 0);
    if (shared == nullptr) return nullptr;
    return InFirstItem(*shared, Dicom_Dictionary::FRAME_ANATOMY_SEQUENCE, Dicom_Dictionary::FRAME_LATERALITY);
}

// The text of a value, cut to `limit` characters.
std::string Text(const Dicom_Type& v, size_t limit) {
    std::string text = v.ToString();
    if (text.size() > limit) text.resize(limit);
    return text;
}

bool Contains(const std::string& text, char c) { return text.find(c) != std::string::npos; }

const Dicom_CS kLeft("L");
const Dicom_CS kRight("R");

// --- views and view modifiers of mammography (DICOM context groups 4014 and 4015) ---

struct MammoView {
    const char* abbreviation;  // the label text (View Position defined terms for the views)
    const char* description;   // in words, lower case
    const char* sct;           // SNOMED CT code value, or null
    const char* srt;           // SNOMED RT code value, or null
    bool modifier;
};

constexpr MammoView kMammoViews[] = {
    {"CC", "craniocaudal", "399162004", "R-10242", false},
    {"FB", "caudocranial (from below)", "399196006", "R-10244", false},
    {"ML", "mediolateral", "399260004", "R-10224", false},
    {"MLO", "mediolateral oblique", "399368009", "R-10226", false},
    {"LM", "lateromedial", "399352003", "R-10228", false},
    {"LMO", "lateromedial oblique", "399099002", "R-10230", false},
    {"SIO", "superolateral to inferomedial oblique", "399188001", "R-102D0", false},
    {"ISO", "inferomedial to superolateral oblique", "441555000", "R-40AAA", false},
    {"XCCL", "craniocaudal exaggerated laterally", "399192008", "R-1024A", false},
    {"XCCM", "craniocaudal exaggerated medially", "399101009", "R-1024B", false},
    {"XCC", "exaggerated craniocaudal", nullptr, nullptr, false},
    {"SPECIMEN", "tissue specimen", "127457009", "G-8310", false},
    {"AC", "anterior compression", "441752004", "P2-00161", true},
    {"AT", "axillary tail", "399011000", "R-102D1", true},
    {"AX", "axillary tissue", "442580003", "R-40AB2", true},
    {"CV", "cleavage", "399161006", "R-102D2", true},
    {"ID", "implant displaced", "399209000", "R-102D5", true},
    {"IMF", "infra-mammary fold", "442593008", "R-40ABE", true},
    {"M", "magnification", "399163009", "R-102D6", true},
    {"NP", "nipple in profile", "442581004", "R-40AB3", true},
    {"RI", "rolled inferior", "414493004", "R-102CA", true},
    {"RL", "rolled lateral", "399197002", "R-102D3", true},
    {"RM", "rolled medial", "399226006", "R-102D4", true},
    {"RS", "rolled superior", "415670009", "R-102C9", true},
    {"S", "spot compression", "399055006", "R-102D7", true},
    {"TAN", "tangential", "399110001", "R-102C2", true},
};

// The entry of a code value, or null.
const MammoView* ViewByCode(std::string_view code, bool modifier) {
    if (code.empty()) return nullptr;
    for (const MammoView& v : kMammoViews) {
        if (v.modifier == modifier && ((v.sct && code == v.sct) || (v.srt && code == v.srt))) return &v;
    }
    return nullptr;
}

const MammoView* ViewByAbbreviation(std::string_view text) {
    for (const MammoView& v : kMammoViews) {
        if (!v.modifier && text == v.abbreviation) return &v;
    }
    return nullptr;
}

// The parts of a view label.
struct ViewLabel {
    std::string laterality;  // "R", "L", "B" or ""
    std::string view;        // abbreviation, or View Position text outside the table, or ""
    const MammoView* known = nullptr;
    std::vector<const MammoView*> modifiers;
};

std::string CodeValue(const Dicom_Msg& item) {
    const Dicom_Type* v = item.Get(Dicom_Dictionary::CODE_VALUE);
    return v != nullptr ? v->ToString() : std::string();
}

ViewLabel ReadViewLabel(IOD_Msg& msg) {
    ViewLabel label;
    const std::string laterality = IOD_TomosynthesisHelper::GetLaterality(&msg);
    if (laterality == "R" || laterality == "L" || laterality == "B") label.laterality = laterality;

    const Dicom_Msg* viewItem = Dicom_Helper(msg).GetSequenceMsg(Dicom_Dictionary::VIEW_CODE_SEQUENCE, 0);
    if (viewItem != nullptr) label.known = ViewByCode(CodeValue(*viewItem), false);
    if (label.known == nullptr) {
        if (const Dicom_Type* position = msg.Get(Dicom_Dictionary::VIEW_POSITION)) {
            label.view = position->ToString();
            label.known = ViewByAbbreviation(label.view);
        }
    }
    if (label.known != nullptr) label.view = label.known->abbreviation;

    const Dicom_Type* modifiers =
        viewItem != nullptr ? viewItem->Get(Dicom_Dictionary::VIEW_MODIFIER_CODE_SEQUENCE) : nullptr;
    if (modifiers == nullptr) modifiers = msg.Get(Dicom_Dictionary::VIEW_MODIFIER_CODE_SEQUENCE);
    if (modifiers != nullptr && modifiers->GetVR() == Dicom_VR::SQ) {
        const Dicom_SQ& items = *static_cast<const Dicom_SQ*>(modifiers);
        for (int i = 0; i < items.GetNItems(); ++i) {
            if (const MammoView* m = ViewByCode(CodeValue(*items.GetItem(i)), true))
                label.modifiers.push_back(m);
        }
    }
    return label;
}

}  // namespace

bool Dicom_Condition::GetParsingsTagValue(const IOD_Msg* msg, CFG_SubTree* rule, RWCString& tagName,
                                          RWCString& value) {
    return GetParsingsTagValue(static_cast<const Dicom_Msg*>(msg), rule, tagName, value);
}

Mutex IOD_TomosynthesisHelper::mutex;
IOD_TomosynthesisHelper::TagParsingVector* IOD_TomosynthesisHelper::tag_parsing_vector = nullptr;
std::atomic<bool> IOD_TomosynthesisHelper::tag_parsing_vector_ready{false};

// --- hanging ---

const char* IOD_TomosynthesisHelper::GetMammoSideText(Mammo_Side side) {
    switch (side) {
        case LEFT:
            return "LEFT";
        case RIGHT:
            return "RIGHT";
        default:
            return "UNKNOWN";
    }
}

void IOD_TomosynthesisHelper::CalculateMammoFlip(const IOD_Msg* msg, bool* horizontalFlip, bool* verticalFlip,
                                                 IOD_TomosynthesisHelper::Mammo_Side* side) {
    if (msg == nullptr) {
        MAMMO_LOG("CalculateMammoFlip", 4, "msg is NULL\n");
        return;
    }
    if (horizontalFlip == nullptr || verticalFlip == nullptr) {
        MAMMO_LOG("CalculateMammoFlip", 4, "Error, as least one output arguments for flip is NULL\n");
        return;
    }
    *horizontalFlip = false;
    *verticalFlip = false;
    Mammo_Side decided = UNKNOWN;

    const Dicom_Type* laterality = msg->Get(Dicom_Dictionary::IMAGE_LATERALITY);
    if (laterality == nullptr) laterality = msg->Get(Dicom_Dictionary::LATERALITY);

    const Dicom_Type* orientation = NotNull(*msg, Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION, CS_NULL);
    if (orientation != nullptr) {
        MAMMO_LOG("CalculateMammoFlip", 7, "Using KOVEL_PATIENT_ORIENTATION content");
    } else {
        orientation = msg->Get(Dicom_Dictionary::PATIENT_ORIENTATION);
    }
    if (orientation != nullptr && !orientation->IsEmpty()) {
        MAMMO_LOG("CalculateMammoFlip", 7, "Patient orientation='%s'", orientation->ToString().c_str());
    }

    if (laterality != nullptr && !laterality->IsEmpty()) {
        if (*laterality == kLeft) {
            decided = LEFT;
        } else if (*laterality == kRight) {
            decided = RIGHT;
        } else {
            MAMMO_LOG("CalculateMammoFlip", 7, "Laterality is not L or R. it is %s\n",
                      laterality->ToString().c_str());
        }
        MAMMO_LOG("CalculateMammoFlip", 7, "The side was set to %s by the laterality tag\n",
                  GetMammoSideText(decided));
    } else if (const Dicom_Type* frame = SharedFrameLaterality(*msg)) {
        if (*frame == kLeft) {
            decided = LEFT;
        } else if (*frame == kRight) {
            decided = RIGHT;
        }
    }

    if (orientation != nullptr) {
        MAMMO_LOG("CalculateMammoFlip", 7, "An orientation tag was found\n");
        const std::string text = Text(*orientation, 100);
        if (decided == UNKNOWN) {
            MAMMO_LOG("CalculateMammoFlip", 7,
                      "Laterality tag not found - trying to decide butting side by patient orientation\n");
            if (Contains(text, 'L') || Contains(text, 'A')) {
                decided = LEFT;
                MAMMO_LOG("CalculateMammoFlip", 7, "Setting to LEFT\n");
            } else if (Contains(text, 'R') || Contains(text, 'P')) {
                decided = RIGHT;
                MAMMO_LOG("CalculateMammoFlip", 7, "Setting to RIGHT\n");
            } else {
                MAMMO_LOG("CalculateMammoFlip", 4, "Orientation contains no L or R\n");
            }
            MAMMO_LOG("CalculateMammoFlip", 7, "The side was set to %s by the orientation tag '%s'\n",
                      GetMammoSideText(decided), text.c_str());
        }
        if (text.empty() || (text[0] != 'A' && text[0] != 'P')) {
            MAMMO_LOG(
                "CalculateMammoFlip", 7,
                "Patient orientation dicom tag is '%s', flip is not applied when orientation values are reversed.",
                text.c_str());
        } else {
            const char* sideText = GetMammoSideText(decided);
            if ((decided == LEFT && Contains(text, 'P')) || (decided == RIGHT && Contains(text, 'A'))) {
                *horizontalFlip = true;
                MAMMO_LOG("CalculateMammoFlip", 6,
                          "The side is %s and orientation is '%s' - an implicit HORIZONTAL flip is needed\n",
                          sideText, text.c_str());
            }
            if (Contains(text, 'H')) {
                *verticalFlip = true;
                MAMMO_LOG("CalculateMammoFlip", 6,
                          "The side is %s and orientation is '%s' - an implicit VERTICAL flip is needed\n",
                          sideText, text.c_str());
            } else if (!Contains(text, 'F') && ((decided == LEFT && Contains(text, 'L')) ||
                                                (decided == RIGHT && Contains(text, 'R')))) {
                *verticalFlip = true;
                MAMMO_LOG("CalculateMammoFlip", 6,
                          "The side is %s and orientation is '%s' - an implicit VERTICAL flip is needed\n",
                          sideText, text.c_str());
            }
            // Posterior and left on a left breast: vertical, even where the 'F' rule declined.
            if (Contains(text, 'P') && Contains(text, 'L') && decided == LEFT) {
                *verticalFlip = true;
                MAMMO_LOG("CalculateMammoFlip", 6,
                          "The side is %s and orientation is '%s' - an implicit VERTICAL flip is needed\n",
                          sideText, text.c_str());
            }
        }
    }
    if (side != nullptr) *side = decided;
}

// --- display groups ---

IOD_MG_Grouptype IOD_TomosynthesisHelper::GetMammoDisplayInfo(IOD_Msg* msg) {
    if (msg == nullptr) return IOD_MG_NOT_MG;
    const Dicom_Type* isMg = msg->Get(Dicom_Dictionary::KOVEL_IS_MG);
    if (isMg == nullptr || *isMg != Dicom_CS("Y")) return IOD_MG_NOT_MG;
    if (Is2DTomosynthesisImage(msg)) return IsTomosynthesisStudy(msg) ? IOD_MG_SYNTHETIC : IOD_MG_2D;
    return Is3DTomosynthesisSlabbingImage(msg) ? IOD_MG_SLABBING : IOD_MG_DBT;
}

const char* IOD_TomosynthesisHelper::GetMammoGroupText(IOD_MG_Grouptype group) {
    switch (group) {
        case IOD_MG_2D:
            return "D2";
        case IOD_MG_DBT:
            return "DBT";
        case IOD_MG_SLABBING:
            return "SLABBING";
        case IOD_MG_SPECIAL:
            return "SPECIAL";
        case IOD_MG_SYNTHETIC:
            return "SYNTHETIC";
        case IOD_MG_NOT_MG:
            break;
    }
    return "";
}

std::string IOD_TomosynthesisHelper::GetMammoDisplayInfoText(IOD_Msg* msg) {
    return GetMammoGroupText(GetMammoDisplayInfo(msg));
}

bool IOD_TomosynthesisHelper::IsTomosynthesisStudy(const IOD_Msg* msg) {
    if (msg == nullptr) return false;
    const Dicom_Type* v = msg->Get(Dicom_Dictionary::SOP_CLASS_UID);
    Dicom_UI uid = UI_NULL;
    if (v != nullptr)
        uid = v->GetVR() == Dicom_VR::UI ? *static_cast<const Dicom_UI*>(v) : Dicom_UI(v->ToString());
    return uid == kTomosynthesisSopClass;
}

bool IOD_TomosynthesisHelper::IsModalityMG(const IOD_Msg* msg) {
    if (msg == nullptr) return false;
    const Dicom_Type* modality = msg->Get(Dicom_Dictionary::MODALITY);
    return modality != nullptr && *modality == IOD_Image::MG;
}

bool IOD_TomosynthesisHelper::IsMultiFrame(const IOD_Msg* msg) {
    if (msg == nullptr) return false;
    const Dicom_Type* frames = msg->Get(Dicom_Dictionary::KOVEL_FRAME_NUMBER);
    return frames != nullptr && !frames->IsEmpty();
}

bool IOD_TomosynthesisHelper::Is3DTomosynthesisImage(const IOD_Msg* msg) {
    return IsTomosynthesisStudy(msg) && IsModalityMG(msg) && IsMultiFrame(msg);
}

bool IOD_TomosynthesisHelper::Is2DTomosynthesisImage(IOD_Msg* msg) { return !Is3DTomosynthesisImage(msg); }

bool IOD_TomosynthesisHelper::Is3DTomosynthesisSlabbingImage(IOD_Msg* msg) {
    if (!Is3DTomosynthesisImage(msg)) return false;
    const Dicom_Msg* measures =
        Dicom_Helper(*msg).GetSequenceMsg(Dicom_Dictionary::PIXEL_MEASURES_SEQUENCE, 0);
    if (measures != nullptr) {
        const Dicom_Type* thickness = measures->Get(Dicom_Dictionary::SLICE_THICKNESS);
        if (thickness != nullptr) {
            const double value = thickness->GetVR() == Dicom_VR::DS
                                     ? static_cast<double>(*static_cast<const Dicom_DS*>(thickness))
                                     : static_cast<double>(Dicom_DS(thickness->ToString()));
            if (static_cast<float>(value) > 1.0f) return true;
        }
    }
    return VolumetricPropertiesSampled(msg);
}

bool IOD_TomosynthesisHelper::VolumetricPropertiesSampled(const IOD_Msg* msg) {
    if (msg == nullptr) return false;
    const Dicom_Type* properties = NotNull(*msg, Dicom_Dictionary::VOLUMETRIC_PROPERTIES, CS_NULL);
    return properties != nullptr && *properties == Dicom_CS("SAMPLED");
}

// --- laterality and view labels ---

std::string IOD_TomosynthesisHelper::GetLaterality(IOD_Msg* msg) {
    std::string result;
    if (msg == nullptr) return result;
    const Dicom_Type* element = NotNull(*msg, Dicom_Dictionary::IMAGE_LATERALITY, CS_NULL);
    if (element == nullptr) element = msg->Get(Dicom_Dictionary::LATERALITY);
    if (element == nullptr) {
        element = SharedFrameLaterality(*msg);
        if (element != nullptr && *element == CS_NULL) element = nullptr;
    }
    if (element != nullptr && *element != CS_NULL) {
        result = Text(*element, 128);
        if (result.empty()) result = "(null string)";
    }
    return result;
}

const std::unordered_map<std::string, std::string>& IOD_TomosynthesisHelper::GetViewPositionDescriptions() {
    static const std::unordered_map<std::string, std::string> descriptions = [] {
        std::unordered_map<std::string, std::string> map;
        for (const MammoView& v : kMammoViews) map.emplace(v.abbreviation, v.description);
        return map;
    }();
    return descriptions;
}

std::string IOD_TomosynthesisHelper::GetViewPosition(IOD_Msg* msg) {
    if (msg == nullptr) return std::string();
    const ViewLabel label = ReadViewLabel(*msg);
    std::string out = label.laterality;
    auto add = [&out](const std::string& part) {
        if (part.empty()) return;
        if (!out.empty()) out += ' ';
        out += part;
    };
    add(label.view);
    for (const MammoView* m : label.modifiers) add(m->abbreviation);
    return out;
}

std::string IOD_TomosynthesisHelper::GetFullDescription(IOD_Msg* msg) {
    if (msg == nullptr) return std::string();
    const ViewLabel label = ReadViewLabel(*msg);
    std::string out;
    if (label.laterality == "R") out = "Right";
    if (label.laterality == "L") out = "Left";
    if (label.laterality == "B") out = "Bilateral";
    const std::string view = label.known != nullptr ? label.known->description : label.view;
    if (!view.empty()) {
        if (out.empty()) {
            out = view;
            out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
        } else {
            out += ' ' + view;
        }
    }
    for (const MammoView* m : label.modifiers) {
        if (!out.empty()) out += ", ";
        out += m->description;
    }
    return out;
}

// --- configuration-driven update ---

void IOD_TomosynthesisHelper::load_tag_parsing_vector(TagParsingVector& rules) {
    static const RWCString path("lumivest\\system\\applications\\carbonell\\tag_parsing");
    MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 7, "Load parsing subtree '%s'", path.c_str());
    CFG_RepositoryServices* services = CFG_Factory::GetRepositoryServices();
    CFG_SubTree* tree = services != nullptr ? services->GetSubTree(path) : nullptr;
    RWTPtrOrderedVector<CFG_SubTree> children;
    if (tree != nullptr) children = tree->GetChildren("");
    if (services == nullptr || tree == nullptr || children.entries() < 1) {
        MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 3,
                  "Failed to create tag_parsing_vector from subtree '%s'", path.c_str());
        return;
    }
    for (size_t i = 0; i < children.entries(); ++i) {
        CFG_SubTree* child = children[i];
        RWCString tag;
        child->GetValue("tag", tag);
        MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 7, "Insert parsing tree %s. Tag: %s ",
                  child->GetName().c_str(), tag.c_str());
        rules.emplace_back(tag, child);
    }
}

int IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(IOD_Msg* msg) {
    MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 7, "Begin");
    // Where the result of a rule is stored, by the name that the rule produces.
    static const std::map<RWCString, RWCString> targets = {
        {"KOVEL_IS_MG", "KOVEL_IS_MG"},
        {"PATIENT_ORIENTATION", "KOVEL_PATIENT_ORIENTATION"},
    };
    static const RWCString skip(":BREAK:");

    if (!tag_parsing_vector_ready.load(std::memory_order_acquire)) {
        ThreadAPI_LockGuard guard(mutex);
        if (tag_parsing_vector == nullptr) {
            tag_parsing_vector = new TagParsingVector;
            load_tag_parsing_vector(*tag_parsing_vector);
        }
        tag_parsing_vector_ready.store(true, std::memory_order_release);
    }

    int result = 0;
    for (const auto& rule : *tag_parsing_vector) {
        if (result != 0) break;
        RWCString tagName, value;
        if (!Dicom_Condition::GetParsingsTagValue(msg, rule.second, tagName, value) || value == skip)
            continue;
        const RWCString* attribute = nullptr;
        try {
            attribute = &targets.at(tagName);
        } catch (const std::out_of_range&) {
            MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 3, "Failed to get tag: '%s'", tagName.c_str());
            return 0;
        }
        const Dicom_Tag tag = Dicom_Tag::Construct_Tag(attribute->c_str());
        const Dicom_VR vr = Dicom_Dictionary::FindVR(tag);
        std::unique_ptr<Dicom_Type> converted(
            Dicom_ME::ConvertToDicomType(Dicom_VRName(vr), value.c_str(), 0, 0));
        if (!converted) continue;
        result = msg->Set(tag, converted.get());
        if (result != 0) {
            MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 4, "Failed to add tag: '%s', with value: '%s'",
                      attribute->c_str(), value.c_str());
        } else {
            MAMMO_LOG("UpdateMammoIODUsingTagsParsing", 7, "Added tag: '%s', with value: '%s'",
                      attribute->c_str(), value.c_str());
        }
    }
    return result;
}
