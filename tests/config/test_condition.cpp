// The rule language of Dicom_Condition::GetParsingsTagValue: each member of a rule, each
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

#include <cstring>

namespace {

// An MG image with a coded view; `meaning` is the view's Code Meaning.
void Fill(Dicom_Msg& msg, const std::string& meaning = "medio-lateral oblique") {
    Dicom_CS mg("MG"), right("R"), orientation("A \\FR "), isMg("Y"), view("MLO");
    Dicom_US rows(512);
    msg.Set(Dicom_Dictionary::MODALITY, &mg);
    msg.Set(Dicom_Dictionary::IMAGE_LATERALITY, &right);
    msg.Set(Dicom_Dictionary::PATIENT_ORIENTATION, &orientation);
    msg.Set(Dicom_Dictionary::KOVEL_IS_MG, &isMg);
    msg.Set(Dicom_Dictionary::VIEW_POSITION, &view);
    msg.Set(Dicom_Dictionary::ROWS, &rows);
    auto* item = new Dicom_Msg;
    Dicom_LO text(meaning.c_str());
    item->Set(Dicom_Dictionary::CODE_MEANING, &text);
    Dicom_SQ views;
    views.AddItem(item);
    msg.Set(Dicom_Dictionary::VIEW_CODE_SEQUENCE, &views);
}

// Evaluates the rule `rule` (a JSON object); `value` keeps "untouched" when nothing is produced.
bool Evaluate(const Dicom_Msg& msg, const std::string& rule, RWCString& tag, RWCString& value) {
    auto services = CFG_RepositoryServices::Parse("{\"rule\": " + rule + "}");
    EXPECT_NE(services, nullptr) << rule;
    tag = value = "untouched";
    return services && Dicom_Condition::GetParsingsTagValue(&msg, services->GetSubTree("rule"), tag, value);
}

TEST(Condition, EachMemberOfARule) {
    Dicom_Msg msg;
    Fill(msg);
    const char* const nothing = nullptr;
    for (
        const auto& [rule, produced] : std::vector<std::pair<const char*, const char*>>{
            // source: keyword, upper-case name, tag, private name, path, several; values unpadded
            {R"j({"tag": "T", "source": "Modality"})j", "MG"},
            {R"j({"tag": "T", "source": "MODALITY"})j", "MG"},
            {R"j({"tag": "T", "source": "(0018,5101)"})j", "MLO"},
            {R"j({"tag": "T", "source": "KOVEL_IS_MG"})j", "Y"},
            {R"j({"tag": "T", "source": "VIEW_CODE_SEQUENCE/(0008,0104)"})j", "medio-lateral oblique"},
            {R"j({"tag": "T", "source": "ImageLaterality+ViewPosition"})j", "R MLO"},
            {R"j({"tag": "T", "source": "Laterality+ViewPosition+Rows"})j", " MLO 512"},
            {R"j({"tag": "T", "source": "PatientOrientation"})j", "A\\FR"},
            // pattern and value
            {R"j({"tag": "T", "source": "PatientOrientation", "pattern": "^(\\w+)\\\\(\\w+)$", "value": "$2\\$1"})j",
             "FR\\A"},
            {R"j({"tag": "T", "source": "Modality", "pattern": "M(X)?G", "value": "[$1|$&|$$|$9|$x|$]"})j",
             "[|MG|$||$x|$]"},
            {R"j({"tag": "T", "source": "Modality", "value": "is $&, not $1"})j", "is MG, not "},
            {R"j({"tag": "T", "source": "Modality", "pattern": "mg"})j", nothing},
            {R"j({"tag": "T", "source": "Modality", "pattern": "^CT$", "default": "N"})j", "N"},
            // absent sources: the default or nothing
            {R"j({"tag": "T", "source": "Laterality"})j", nothing},
            {R"j({"tag": "T", "source": "Laterality+ViewModifierCodeSequence/CodeValue", "default": "U"})j",
             "U"},
            {R"j({"tag": "T", "source": "ViewCodeSequence", "default": "sequence"})j", "sequence"},
            {R"j({"tag": "T", "default": ":BREAK:", "comment": "ignored"})j", ":BREAK:"},
            {R"j({"tag": "T"})j", nothing},
        }) {
        RWCString tag, value;
        EXPECT_EQ(Evaluate(msg, rule, tag, value), produced != nullptr) << rule;
        EXPECT_EQ(value, produced ? produced : "untouched") << rule;
        EXPECT_EQ(tag, "T") << rule;
    }
    // An empty value counts as absent; texts beyond the length limit are not searched.
    Dicom_CS empty;
    msg.Set(Dicom_Dictionary::MODALITY, &empty);
    RWCString tag, value;
    EXPECT_FALSE(Evaluate(msg, R"j({"tag": "T", "source": "Modality", "pattern": "^$"})j", tag, value));
    const char* longRule = R"j({"tag": "T", "source": "ViewCodeSequence/CodeMeaning", "pattern": "(a|b)*$",
                               "value": "searched", "default": "not searched"})j";
    for (const size_t length : {Dicom_Condition::kMaxSourceLength, Dicom_Condition::kMaxSourceLength + 1}) {
        Dicom_Msg longMsg;
        Fill(longMsg, std::string(length, 'a'));
        EXPECT_TRUE(Evaluate(longMsg, longRule, tag, value));
        EXPECT_EQ(value, length > Dicom_Condition::kMaxSourceLength ? "not searched" : "searched");
    }
}

TEST(Condition, MalformedRulesProduceNothingAndAreReportedOnce) {
    Dicom_Msg msg;
    Fill(msg);
    const std::string prefix = "Parsing rule 'rule' is not used: ";
    for (const auto& [rule, reason] : std::vector<std::pair<const char*, const char*>>{
             {R"j({"source": "Modality", "default": "Y"})j", "it has no \"tag\""},
             {R"j({"tag": "T", "source": "Modality", "pattern": "(MG"})j",
              "its pattern '(MG' does not compile: "},
             {R"j({"tag": "T", "source": "Modalty", "default": "Y"})j",
              "its source 'Modalty' names no attribute"},
             {R"j({"tag": "T", "source": "Modality+"})j", "its source 'Modality+' names no attribute"},
             {R"j({"tag": "T", "source": "Modality/CodeMeaning"})j",
              "its source 'Modality/CodeMeaning' reads through 'Modality', which is not a sequence"},
             {R"j({"tag": "T", "source": "Modality", "patern": "MG"})j", "unknown member 'patern'"}}) {
        std::vector<Kvl_LogRecord> records;
        KvlGLog.SetDefaultSink(false);
        const int sink = KvlGLog.AddSink([&records](const Kvl_LogRecord& r) {
            if (r.level <= 4) records.push_back(r);
        });
        auto services = CFG_RepositoryServices::Parse(std::string("{\"rule\": ") + rule + "}");
        RWCString tag("untouched"), value("untouched");
        for (int i = 0; i < 3; ++i)
            EXPECT_FALSE(
                Dicom_Condition::GetParsingsTagValue(&msg, services->GetSubTree("rule"), tag, value));
        KvlGLog.RemoveSink(sink);
        KvlGLog.SetDefaultSink(true);
        EXPECT_EQ(value, "untouched");
        EXPECT_EQ(tag, std::string(rule).find("\"tag\"") != std::string::npos ? "T" : "untouched") << rule;
        ASSERT_EQ(records.size(), 1u) << rule;
        EXPECT_EQ(records[0].level, 3);
        EXPECT_EQ(records[0].category, 20);
        EXPECT_EQ(records[0].file, "dicom/src/Dicom_Condition");
        EXPECT_EQ(records[0].function, "Dicom_Condition::GetParsingsTagValue");
        EXPECT_EQ(records[0].text.substr(0, prefix.size() + std::strlen(reason)), prefix + reason);
    }
    RWCString tag, value;
    auto services = CFG_RepositoryServices::Parse(R"j({"rule": {"tag": "T", "default": "Y"}})j");
    EXPECT_FALSE(Dicom_Condition::GetParsingsTagValue(static_cast<const Dicom_Msg*>(nullptr),
                                                      services->GetSubTree("rule"), tag, value));
    EXPECT_FALSE(Dicom_Condition::GetParsingsTagValue(&msg, nullptr, tag, value));
}

}  // namespace
