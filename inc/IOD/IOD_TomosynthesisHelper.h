// IOD_TomosynthesisHelper: mammography and breast tomosynthesis, as static members.
//
//  - How a viewer hangs a mammogram: CalculateMammoFlip decides the breast side and whether the
//    image must be flipped horizontally and/or vertically so that the breast is shown the
//    conventional way.
//  - To which display group an image belongs (GetMammoDisplayInfo and its text): a conventional
//    2D image, a tomosynthesis volume, a tomosynthesis slab or a synthetic 2D image of a
//    tomosynthesis study; the Is... predicates are its parts.
//  - The laterality text and the view labels ("R MLO", "Right mediolateral oblique") of an image.
//  - UpdateMammoIODUsingTagsParsing: derives the mammography marker KOVEL_IS_MG and the corrected
//    patient orientation KOVEL_PATIENT_ORIENTATION from the site's parsing rules in the
//    configuration repository and writes them into the message.
//
// Every member but UpdateMammoIODUsingTagsParsing only reads the message; a null message gives
// false, an empty text or IOD_MG_NOT_MG (CalculateMammoFlip logs it). The members keep no state
// between calls, except the parsing rules, which are loaded once per process under `mutex`.
#pragma once

#include <IOD/IOD_Msg.h>
#include <RW/RWCString.h>
#include <ThreadTools/Mutex.h>

#include <atomic>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

class CFG_SubTree;

// Display groups of mammography images, as GetMammoDisplayInfo returns them.
enum IOD_MG_Grouptype {
    IOD_MG_NOT_MG = -1,    // "": the message is not marked as mammography
    IOD_MG_2D = 0,         // "D2": conventional 2D image
    IOD_MG_DBT = 1,        // "DBT": tomosynthesis volume
    IOD_MG_SLABBING = 2,   // "SLABBING": tomosynthesis slab
    IOD_MG_SPECIAL = 3,    // "SPECIAL": has a text, never returned by GetMammoDisplayInfo
    IOD_MG_SYNTHETIC = 4,  // "SYNTHETIC": 2D image within a tomosynthesis study
};

class IOD_TomosynthesisHelper {
public:
    // The breast side; printed as "UNKNOWN", "LEFT", "RIGHT" (GetMammoSideText).
    enum Mammo_Side { UNKNOWN = 0, LEFT = 1, RIGHT = 2 };

    // Taken while the parsing rules of UpdateMammoIODUsingTagsParsing are loaded.
    static Mutex mutex;

    // --- hanging ---
    // Sets both flips to false and the side to UNKNOWN, then decides the side from (0020,0062)
    // Image Laterality, (0020,0060) Laterality, the Frame Laterality of the shared functional
    // groups or the orientation, and the flips from the orientation: KOVEL_PATIENT_ORIENTATION
    // when it holds a value, else (0020,0020) Patient Orientation. A null message or flip
    // pointer writes nothing (level 4); `side` may be null.
    static void CalculateMammoFlip(const IOD_Msg* msg, bool* horizontalFlip, bool* verticalFlip,
                                   IOD_TomosynthesisHelper::Mammo_Side* side);
    // "UNKNOWN", "LEFT" or "RIGHT" ("UNKNOWN" for a value outside the enumeration).
    static const char* GetMammoSideText(Mammo_Side side);

    // --- display groups ---
    // IOD_MG_NOT_MG unless KOVEL_IS_MG is "Y"; then IOD_MG_SYNTHETIC or IOD_MG_2D for a 2D image
    // (of the tomosynthesis SOP class or not), IOD_MG_SLABBING or IOD_MG_DBT for a 3D one.
    static IOD_MG_Grouptype GetMammoDisplayInfo(IOD_Msg* msg);
    // The text of GetMammoDisplayInfo's group: "", "D2", "DBT", "SLABBING", "SYNTHETIC".
    static std::string GetMammoDisplayInfoText(IOD_Msg* msg);
    // The text of a group: "" (IOD_MG_NOT_MG and values outside the enumeration), "D2", "DBT",
    // "SLABBING", "SPECIAL", "SYNTHETIC".
    static const char* GetMammoGroupText(IOD_MG_Grouptype group);
    // (0008,0016) SOP Class UID is Breast Tomosynthesis Image Storage.
    static bool IsTomosynthesisStudy(const IOD_Msg* msg);
    // (0008,0060) Modality is IOD_Image::MG.
    static bool IsModalityMG(const IOD_Msg* msg);
    // KOVEL_FRAME_NUMBER is present and holds a value.
    static bool IsMultiFrame(const IOD_Msg* msg);
    // IsTomosynthesisStudy, IsModalityMG and IsMultiFrame, in that order.
    static bool Is3DTomosynthesisImage(const IOD_Msg* msg);
    // Not Is3DTomosynthesisImage.
    static bool Is2DTomosynthesisImage(IOD_Msg* msg);
    // A 3D image whose Pixel Measures Sequence (first item) gives a Slice Thickness above 1.0,
    // or whose Volumetric Properties are "SAMPLED".
    static bool Is3DTomosynthesisSlabbingImage(IOD_Msg* msg);
    // (0008,9206) Volumetric Properties is "SAMPLED".
    static bool VolumetricPropertiesSampled(const IOD_Msg* msg);

    // --- laterality and view labels ---
    // The text of (0020,0062) Image Laterality, else of (0020,0060) Laterality, else of the
    // Frame Laterality of the shared functional groups; "" when none holds a value.
    static std::string GetLaterality(IOD_Msg* msg);
    // The short view label: laterality, view and view modifiers separated by blanks: "R MLO",
    // "L CC ID", "MLO" (no laterality). The view is the one that item 0 of (0054,0220) View
    // Code Sequence codes (SNOMED CT or SNOMED RT code value), else the text of (0018,5101) View
    // Position; modifiers come from the View Modifier Code Sequence inside that item (or at the
    // top level). Laterality is shown when it is "R", "L" or "B". "" when nothing is known.
    static std::string GetViewPosition(IOD_Msg* msg);
    // The same in words: "Right mediolateral oblique", "Left craniocaudal, implant displaced",
    // "Mediolateral oblique". A view abbreviation outside the table is shown as it is.
    static std::string GetFullDescription(IOD_Msg* msg);
    // Every view and view modifier abbreviation that the labels use, with its description in
    // words: "MLO" -> "mediolateral oblique", "ID" -> "implant displaced". Built once.
    static const std::unordered_map<std::string, std::string>& GetViewPositionDescriptions();

    // --- configuration-driven update ---
    // Runs the parsing rules of the repository subtree
    // "lumivest\system\applications\carbonell\tag_parsing" (loaded on the first call; an
    // unusable repository is not tried again) over `msg` and stores what they produce:
    // "KOVEL_IS_MG" under KOVEL_IS_MG, "PATIENT_ORIENTATION" under KOVEL_PATIENT_ORIENTATION;
    // a rule producing ":BREAK:" stores nothing. Returns 0, or the status of the first store that
    // failed (the run stops there); a rule naming any other attribute ends the run with 0.
    static int UpdateMammoIODUsingTagsParsing(IOD_Msg* msg);

private:
    using TagParsingVector = std::vector<std::pair<RWCString, CFG_SubTree*>>;
    // The rules (their "tag" and their subtree) in repository order; set before they are
    // loaded, so that a load is never retried, and kept for the life of the process.
    static TagParsingVector* tag_parsing_vector;
    // Set once the load is over: only then may a thread that does not hold `mutex` read the
    // vector.
    static std::atomic<bool> tag_parsing_vector_ready;

    static void load_tag_parsing_vector(TagParsingVector& rules);
};
