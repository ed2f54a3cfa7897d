// UpdateMammoIODUsingTagsParsing. The rules load once per process: every case runs in a child
// process of its own (RunInChild) with its own IOD_CONFIG.
#include <IOD/IOD_TomosynthesisHelper.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "ChildProcess.h"
#include "MammoTestSupport.h"

namespace {

const std::string kPath = "lumivest\\system\\applications\\carbonell\\tag_parsing";
const std::string kLoad = "7 Begin\n7 Load parsing subtree '" + kPath + "'\n";
const std::string kFailedLoad = "3 Failed to create tag_parsing_vector from subtree '" + kPath + "'\n";

// Points IOD_CONFIG at a repository whose tag_parsing subtree is `rules` (JSON); null: unset.
void UseRules(const char* rules) {
    if (rules == nullptr) {
        ::unsetenv("IOD_CONFIG");
        return;
    }
    const std::string file = ::testing::TempDir() + "mammo_rules_" + std::to_string(::getpid()) + ".json";
    std::ofstream(file, std::ios::trunc) << R"j({"lumivest": {"system": {"applications": {"carbonell": {)j"
                                         << "\"tag_parsing\": " << rules << "}}}}}";
    ::setenv("IOD_CONFIG", file.c_str(), 1);
}

IOD_Msg RightMlo() {
    IOD_Msg msg;
    Put<Dicom_CS>(msg, Dicom_Dictionary::MODALITY, "MG");
    Put<Dicom_CS>(msg, Dicom_Dictionary::VIEW_POSITION, "MLO");
    Put<Dicom_CS>(msg, Dicom_Dictionary::PATIENT_ORIENTATION, "P\\L");
    return msg;
}

// A message whose store refuses every write with -7.
class RefusingMsg : public IOD_Msg {
public:
    int Set(const Dicom_Tag&, Dicom_Type*) override {
        ++writes;
        return -7;
    }
    int writes = 0;
};

TEST(MammoUpdate, UnusableRepositoriesAreTriedOnce) {
    for (const char* rules : {static_cast<const char*>(nullptr), "{}", "\"not an object\""}) {
        RunInChild([rules](ChildChecks& checks) {
            UseRules(rules);
            MammoLog log;
            IOD_Msg msg = RightMlo();
            CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&msg), 0);
            CHILD_EQ(checks, log.Text("UpdateMammoIODUsingTagsParsing"), kLoad + kFailedLoad);
            UseRules(R"j({"r": {"tag": "KOVEL_IS_MG", "default": "Y"}})j");  // too late
            CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&msg), 0);
            CHILD_EQ(checks, log.Text("UpdateMammoIODUsingTagsParsing"), kLoad + kFailedLoad + "7 Begin\n");
            CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_IS_MG), "(absent)");
        });
    }
}

TEST(MammoUpdate, RulesRunInOrderAndWriteTheMappedAttributes) {
    RunInChild([](ChildChecks& checks) {
        UseRules(R"j({
            "marker": {"tag": "KOVEL_IS_MG", "source": "Modality", "pattern": "^MG$", "value": "Y", "default": "N"},
            "skipped": {"tag": "PATIENT_ORIENTATION", "source": "ViewPosition", "pattern": "^CC$",
                        "value": "A\\L", "default": ":BREAK:"},
            "lower_case": {"tag": "PATIENT_ORIENTATION", "default": "a\\l"},
            "no_tag": {"default": "Y"},
            "orientation": {"tag": "PATIENT_ORIENTATION", "source": "PatientOrientation", "pattern": "^P\\\\(.*)$",
                            "value": "A\\$1"}})j");
        MammoLog log;
        IOD_Msg msg = RightMlo();
        CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&msg), 0);
        CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_IS_MG), "Y");
        CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION), "A\\L");
        CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::PATIENT_ORIENTATION), "P\\L");  // never written back
        CHILD_EQ(checks, log.Text("UpdateMammoIODUsingTagsParsing"),
                 kLoad + "7 Insert parsing tree marker. Tag: KOVEL_IS_MG \n" +
                     "7 Insert parsing tree skipped. Tag: PATIENT_ORIENTATION \n" +
                     "7 Insert parsing tree lower_case. Tag: PATIENT_ORIENTATION \n" +
                     "7 Insert parsing tree no_tag. Tag:  \n" +
                     "7 Insert parsing tree orientation. Tag: PATIENT_ORIENTATION \n" +
                     "7 Added tag: 'KOVEL_IS_MG', with value: 'Y'\n" +
                     "7 Added tag: 'KOVEL_PATIENT_ORIENTATION', with value: 'A\\L'\n");
        CHILD_EQ(checks, IOD_TomosynthesisHelper::GetMammoDisplayInfoText(&msg), "D2");
        // Not loaded again; a CT image gets the marker's default.
        log.records.clear();
        IOD_Msg ct;
        Put<Dicom_CS>(ct, Dicom_Dictionary::MODALITY, "CT");
        CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&ct), 0);
        CHILD_EQ(checks, TextOf(ct, Dicom_Dictionary::KOVEL_IS_MG), "N");
        CHILD_EQ(checks, log.Text(), std::string("7 Begin\n7 Added tag: 'KOVEL_IS_MG', with value: 'N'\n"));
        CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(nullptr), 0);
    });
}

TEST(MammoUpdate, AnUnknownTagEndsTheRunAndAFailedStoreStopsIt) {
    RunInChild([](ChildChecks& checks) {
        UseRules(R"j({"first": {"tag": "KOVEL_IS_MG", "default": "Y"},
                      "view": {"tag": "VIEW_POSITION", "source": "ViewPosition"},
                      "never": {"tag": "PATIENT_ORIENTATION", "default": "A\\R"}})j");
        IOD_Msg msg = RightMlo();
        RefusingMsg refusing;
        MammoLog log;
        CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&msg), 0);
        CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_IS_MG), "Y");
        CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION), "(absent)");
        CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&refusing), -7);
        CHILD_EQ(checks, refusing.writes, 1);
        const std::string text = log.Text("UpdateMammoIODUsingTagsParsing");
        CHILD_EQ(
            checks, text.substr(text.find("7 Added")),
            std::string("7 Added tag: 'KOVEL_IS_MG', with value: 'Y'\n3 Failed to get tag: 'VIEW_POSITION'\n"
                        "7 Begin\n4 Failed to add tag: 'KOVEL_IS_MG', with value: 'Y'\n"));
    });
}

TEST(MammoUpdate, TheExampleRepositoryHangsWithoutFlips) {
    RunInChild([](ChildChecks& checks) {
        ::setenv("IOD_CONFIG", IOD_EXAMPLE_REPOSITORY, 1);
        int failures = 0;  // records of level 3 and below, any category
        KvlGLog.AddSink([&failures](const Kvl_LogRecord& r) { failures += r.level <= 3; });
        const char* const no = nullptr;
        struct Case {
            const char *sopClass, *modality, *laterality, *view, *isMg, *orientation;
        };
        for (const Case& c :
             std::vector<Case>{{"1.2.840.10008.5.1.4.1.1.1.2", "MG", "R", "MLO", "Y", "P\\FL"},
                               {"1.2.840.10008.5.1.4.1.1.1.2.1", "MG", "L", "MLO", "Y", "A\\FR"},
                               {"1.2.840.10008.5.1.4.1.1.13.1.3", "MG", "L", "XCCL", "Y", "A\\R"},
                               {"1.2.840.10008.5.1.4.1.1.1.1", "MG", "R", "CC", "Y", "P\\L"},
                               {"1.2.840.10008.5.1.4.1.1.1.1", "DX", "R", "ML", "(absent)", "P\\F"},
                               {"1.2.840.10008.5.1.4.1.1.1.2", "MG", "R", "SPECIMEN", "Y", "(absent)"},
                               {"1.2.840.10008.5.1.4.1.1.2", "CT", no, no, "(absent)", "(absent)"}}) {
            IOD_Msg msg;
            Put<Dicom_UI>(msg, Dicom_Dictionary::SOP_CLASS_UID, c.sopClass);
            Put<Dicom_CS>(msg, Dicom_Dictionary::MODALITY, c.modality);
            Put<Dicom_CS>(msg, Dicom_Dictionary::IMAGE_LATERALITY, c.laterality);
            Put<Dicom_CS>(msg, Dicom_Dictionary::VIEW_POSITION, c.view);
            Put<Dicom_CS>(msg, Dicom_Dictionary::PATIENT_ORIENTATION, "A\\H");
            CHILD_EQ(checks, IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&msg), 0);
            CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_IS_MG), c.isMg);
            CHILD_EQ(checks, TextOf(msg, Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION), c.orientation);
            bool horizontal = true, vertical = true;
            IOD_TomosynthesisHelper::CalculateMammoFlip(&msg, &horizontal, &vertical, nullptr);
            CHILD_EQ(checks, horizontal || vertical, std::string(c.orientation) == "(absent)");
        }
        CHILD_EQ(checks, failures, 0);
    });
}

}  // namespace
