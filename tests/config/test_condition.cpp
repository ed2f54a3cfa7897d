// The rule language of Dicom_Condition::GetParsingsTagValue: every member of a rule, every
// failure, and the once-only report of a malformed rule.
#include <CFG/CFG.h>
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_Condition.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_US.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A mammography-like message: the sources the rules below read.
class ConditionTest : public ::testing::Test {
protected:
    void SetUp() override {
        Dicom_CS mg("MG"), right("R"), orientation("A \\FR "), isMg("Y"), view("MLO");
        Dicom_US rows(512);
        msg.Set(Dicom_Dictionary::MODALITY, &mg);
        msg.Set(Dicom_Dictionary::IMAGE_LATERALITY, &right);
        msg.Set(Dicom_Dictionary::PATIENT_ORIENTATION, &orientation);
        msg.Set(Dicom_Dictionary::KOVEL_IS_MG, &isMg);
        msg.Set(Dicom_Dictionary::VIEW_POSITION, &view);
        msg.Set(Dicom_Dictionary::ROWS, &rows);
        auto* item = new Dicom_Msg;
        Dicom_LO meaning("medio-lateral oblique");
        item->Set(Dicom_Dictionary::CODE_MEANING, &meaning);
        Dicom_SQ views;
        views.AddItem(item);
        msg.Set(Dicom_Dictionary::VIEW_CODE_SEQUENCE, &views);
    }

    // Evaluates the rule object `rule` (JSON) against `msg`.
    bool Evaluate(const std::string& rule, RWCString& tag, RWCString& value, const Dicom_Msg* on = nullptr) {
        RWCString error;
        repositories.push_back(CFG_RepositoryServices::Parse("{\"rule\": " + rule + "}", &error));
        EXPECT_NE(repositories.back(), nullptr) << error.c_str();
        if (!repositories.back()) return false;
        return Dicom_Condition::GetParsingsTagValue(on != nullptr ? on : &msg,
                                                    repositories.back()->GetSubTree("rule"), tag, value);
    }

    Dicom_Msg msg;
    std::vector<std::unique_ptr<CFG_RepositoryServices>> repositories;
};

TEST_F(ConditionTest, EachMemberOfARule) {
    struct Case {
        const char* rule;
        const char* value;  // null: the rule produces nothing
    };
    const std::vector<Case> cases = {
        // source forms: keyword, upper-case name, tag, private name, path through a sequence
        {R"j({"tag": "T", "source": "Modality"})j", "MG"},
        {R"j({"tag": "T", "source": "MODALITY"})j", "MG"},
        {R"j({"tag": "T", "source": "(0018,5101)"})j", "MLO"},
        {R"j({"tag": "T", "source": "0018,5101"})j", "MLO"},
        {R"j({"tag": "T", "source": "KOVEL_IS_MG"})j", "Y"},
        {R"j({"tag": "T", "source": "ViewCodeSequence/CodeMeaning"})j", "medio-lateral oblique"},
        {R"j({"tag": "T", "source": "VIEW_CODE_SEQUENCE/(0008,0104)"})j", "medio-lateral oblique"},
        // several sources, joined by blanks; an absent one leaves its place empty
        {R"j({"tag": "T", "source": "ImageLaterality+ViewPosition", "pattern": "^R (CC|MLO)$"})j", "R MLO"},
        {R"j({"tag": "T", "source": "Laterality+ViewPosition+Modality"})j", " MLO MG"},
        {R"j({"tag": "T", "source": "Laterality+ViewModifierCodeSequence/CodeValue", "default": "none"})j",
         "none"},
        {R"j({"tag": "T", "source": "ViewPosition+ViewCodeSequence/CodeMeaning"})j",
         "MLO medio-lateral oblique"},
        // values without padding, joined by backslashes; numbers as text
        {R"j({"tag": "T", "source": "PatientOrientation"})j", "A\\FR"},
        {R"j({"tag": "T", "source": "Rows"})j", "512"},
        // pattern and value
        {R"j({"tag": "T", "source": "PatientOrientation", "pattern": "^A\\\\F"})j", "A\\F"},
        {R"j({"tag": "T", "source": "PatientOrientation", "pattern": "^(\\w+)\\\\(\\w+)$", "value": "$2\\$1"})j",
         "FR\\A"},
        {R"j({"tag": "T", "source": "Modality", "pattern": "M(X)?G", "value": "[$1|$&|$$|$9|$x|$]"})j",
         "[|MG|$||$x|$]"},
        {R"j({"tag": "T", "source": "Modality", "value": "is $&, not $1"})j", "is MG, not "},
        {R"j({"tag": "T", "source": "ViewCodeSequence/CodeMeaning", "pattern": "oblique", "value": "MLO"})j",
         "MLO"},
        {R"j({"tag": "T", "source": "Modality", "pattern": "^CT$"})j", nullptr},
        {R"j({"tag": "T", "source": "Modality", "pattern": "mg"})j", nullptr},
        {R"j({"tag": "T", "source": "Modality", "pattern": "^CT$", "default": "N"})j", "N"},
        // absent sources: default or nothing
        {R"j({"tag": "T", "source": "Laterality"})j", nullptr},
        {R"j({"tag": "T", "source": "Laterality", "default": "U"})j", "U"},
        {R"j({"tag": "T", "source": "ViewCodeSequence/CodeValue", "default": "none"})j", "none"},
        {R"j({"tag": "T", "source": "ViewModifierCodeSequence/CodeValue"})j", nullptr},
        {R"j({"tag": "T", "source": "ViewCodeSequence", "default": "sequence"})j", "sequence"},
        {R"j({"tag": "T", "default": ":BREAK:"})j", ":BREAK:"},
        {R"j({"tag": "T"})j", nullptr},
        {R"j({"tag": "T", "source": "Modality", "comment": "ignored"})j", "MG"},
        {R"j({"tag": "T", "source": "Modality", "value": ""})j", ""},
    };
    for (const Case& c : cases) {
        RWCString tag, value("untouched");
        EXPECT_EQ(Evaluate(c.rule, tag, value), c.value != nullptr) << c.rule;
        EXPECT_EQ(value, c.value != nullptr ? c.value : "untouched") << c.rule;
        EXPECT_EQ(tag, "T") << c.rule;
    }
}

TEST_F(ConditionTest, EmptyValueCountsAsAbsent) {
    Dicom_CS empty;
    msg.Set(Dicom_Dictionary::MODALITY, &empty);
    RWCString tag, value;
    EXPECT_FALSE(Evaluate(R"j({"tag": "T", "source": "Modality", "pattern": "^$"})j", tag, value));
    EXPECT_TRUE(Evaluate(R"j({"tag": "T", "source": "Modality", "default": "none"})j", tag, value));
    EXPECT_EQ(value, "none");
}

TEST_F(ConditionTest, MalformedRulesProduceNothingAndAreReportedOnce) {
    struct Case {
        const char* rule;
        const char* tag;  // what tagName receives
        std::string report;
    };
    const std::vector<Case> cases = {
        {R"j({"source": "Modality", "default": "Y"})j", "",
         "Parsing rule 'rule' is not used: it has no \"tag\""},
        {R"j({"tag": "T", "source": "Modality", "pattern": "(MG"})j", "T",
         "Parsing rule 'rule' is not used: its pattern '(MG' does not compile: "},
        {R"j({"tag": "T", "source": "Modalty", "default": "Y"})j", "T",
         "Parsing rule 'rule' is not used: its source 'Modalty' names no attribute"},
        {R"j({"tag": "T", "source": "ViewCodeSequence//CodeMeaning"})j", "T",
         "Parsing rule 'rule' is not used: its source 'ViewCodeSequence//CodeMeaning' names no attribute"},
        {R"j({"tag": "T", "source": "Modality+"})j", "T",
         "Parsing rule 'rule' is not used: its source 'Modality+' names no attribute"},
        {R"j({"tag": "T", "source": "Modality/CodeMeaning"})j", "T",
         "Parsing rule 'rule' is not used: its source 'Modality/CodeMeaning' reads through 'Modality', which "
         "is "
         "not a sequence"},
        {R"j({"tag": "T", "source": "Modality", "patern": "MG"})j", "T",
         "Parsing rule 'rule' is not used: unknown member 'patern'"},
    };
    for (const Case& c : cases) {
        std::vector<Kvl_LogRecord> records;
        KvlGLog.SetDefaultSink(false);
        const int handle = KvlGLog.AddSink([&records](const Kvl_LogRecord& r) {
            if (r.level <= 4) records.push_back(r);
        });
        RWCString tag("untouched"), value("untouched");
        RWCString error;
        auto services = CFG_RepositoryServices::Parse(std::string("{\"rule\": ") + c.rule + "}", &error);
        ASSERT_NE(services, nullptr) << error.c_str();
        for (int i = 0; i < 3; ++i) {
            EXPECT_FALSE(Dicom_Condition::GetParsingsTagValue(&msg, services->GetSubTree("rule"), tag, value))
                << c.rule;
        }
        KvlGLog.RemoveSink(handle);
        KvlGLog.SetDefaultSink(true);
        EXPECT_EQ(value, "untouched") << c.rule;
        EXPECT_EQ(tag, *c.tag ? c.tag : "untouched") << c.rule;
        ASSERT_EQ(records.size(), 1u) << c.rule;
        EXPECT_EQ(records[0].level, 3);
        EXPECT_EQ(records[0].category, 20);
        EXPECT_EQ(records[0].file, "dicom/src/Dicom_Condition");
        EXPECT_EQ(records[0].function, "Dicom_Condition::GetParsingsTagValue");
        EXPECT_EQ(records[0].text.compare(0, c.report.size(), c.report), 0) << records[0].text;
    }
}

TEST_F(ConditionTest, LongSourcesAreNotSearched) {
    Dicom_LO meaning(std::string(Dicom_Condition::kMaxSourceLength, 'a').c_str());
    auto* item = new Dicom_Msg;
    item->Set(Dicom_Dictionary::CODE_MEANING, &meaning);
    Dicom_SQ views;
    views.AddItem(item);
    Dicom_Msg longMsg;
    longMsg.Set(Dicom_Dictionary::VIEW_CODE_SEQUENCE, &views);
    const char* rule = R"j({"tag": "T", "source": "ViewCodeSequence/CodeMeaning", "pattern": "(a|b)*$",
                           "value": "found", "default": "skipped"})j";
    RWCString tag, value;
    EXPECT_TRUE(Evaluate(rule, tag, value, &longMsg));
    EXPECT_EQ(value, "found");  // exactly the limit: searched

    Dicom_Msg longer;
    std::string text(Dicom_Condition::kMaxSourceLength + 1, 'a');
    Dicom_LO meaning2(text.c_str());
    auto* item2 = new Dicom_Msg;
    item2->Set(Dicom_Dictionary::CODE_MEANING, &meaning2);
    Dicom_SQ views2;
    views2.AddItem(item2);
    longer.Set(Dicom_Dictionary::VIEW_CODE_SEQUENCE, &views2);
    EXPECT_TRUE(Evaluate(rule, tag, value, &longer));
    EXPECT_EQ(value, "skipped");
}

TEST_F(ConditionTest, NullArgumentsProduceNothing) {
    auto services = CFG_RepositoryServices::Parse(R"j({"rule": {"tag": "T", "default": "Y"}})j");
    RWCString tag, value;
    EXPECT_FALSE(Dicom_Condition::GetParsingsTagValue(nullptr, services->GetSubTree("rule"), tag, value));
    EXPECT_FALSE(Dicom_Condition::GetParsingsTagValue(&msg, nullptr, tag, value));
    EXPECT_TRUE(Dicom_Condition::GetParsingsTagValue(&msg, services->GetSubTree("rule"), tag, value));
}

}  // namespace
