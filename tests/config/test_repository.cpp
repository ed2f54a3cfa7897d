// The configuration repository: documents, paths, children, values, errors, the factory.
#include <CFG/CFG.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "ChildProcess.h"

namespace {

std::unique_ptr<CFG_RepositoryServices> MustParse(const char* document) {
    RWCString error;
    std::unique_ptr<CFG_RepositoryServices> services = CFG_RepositoryServices::Parse(document, &error);
    EXPECT_NE(services, nullptr) << error.c_str();
    return services;
}

std::vector<std::string> Names(const RWTPtrOrderedVector<CFG_SubTree>& children) {
    std::vector<std::string> out;
    for (size_t i = 0; i < children.entries(); ++i) out.push_back(children[i]->GetName().str());
    return out;
}

std::string TempFile(const std::string& name, const std::string& content) {
    const std::string path = ::testing::TempDir() + "cfg_" + std::to_string(::getpid()) + "_" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

constexpr const char* kDocument = R"j({
  "zeta": {"tag": "KOVEL_IS_MG", "n": 7, "big": 18446744073709551615, "neg": -3,
           "f": 1.50, "e": 1E3, "yes": true, "no": false, "nothing": null,
           "list": ["a", {"hidden": {}}], "inner": {"k": "v"}},
  "alpha": {},
  "rule_2": {"tag": "B"},
  "rule_10": {"tag": "C"},
  "lumivest": {"system": {"applications": {"carbonell": {"tag_parsing": {"x": {"tag": "T"}}}}}}
})j";

TEST(ConfigRepository, ChildrenKeepDocumentOrderAndFilter) {
    auto services = MustParse(kDocument);
    CFG_SubTree* root = services->GetRoot();
    EXPECT_EQ(Names(root->GetChildren("")),
              (std::vector<std::string>{"zeta", "alpha", "rule_2", "rule_10", "lumivest"}));
    EXPECT_EQ(Names(root->GetChildren()), Names(root->GetChildren("")));
    struct Case {
        const char* filter;
        std::vector<std::string> names;
    };
    for (const Case& c : std::vector<Case>{
             {"rule_*", {"rule_2", "rule_10"}},
             {"rule_?", {"rule_2"}},
             {"*a", {"zeta", "alpha"}},
             {"alpha", {"alpha"}},
             {"alp", {}},
             {"*", {"zeta", "alpha", "rule_2", "rule_10", "lumivest"}},
             {"*u*e*", {"rule_2", "rule_10", "lumivest"}},
         }) {
        EXPECT_EQ(Names(root->GetChildren(c.filter)), c.names) << c.filter;
    }
    // The vector is checked: past the end is the collection library's bounds error.
    EXPECT_THROW(root->GetChildren("alpha").at(1), RWBoundsErr);
}

TEST(ConfigRepository, ValuesAreTheScalarMembersAsText) {
    auto services = MustParse(kDocument);
    CFG_SubTree* zeta = services->GetSubTree("zeta");
    ASSERT_NE(zeta, nullptr);
    struct Case {
        const char* key;
        const char* text;  // null: no value
    };
    for (const Case& c : std::vector<Case>{{"tag", "KOVEL_IS_MG"},
                                           {"n", "7"},
                                           {"big", "18446744073709551615"},
                                           {"neg", "-3"},
                                           {"f", "1.50"},
                                           {"e", "1E3"},
                                           {"yes", "true"},
                                           {"no", "false"},
                                           {"nothing", nullptr},
                                           {"list", nullptr},
                                           {"inner", nullptr},
                                           {"absent", nullptr}}) {
        RWCString value("untouched");
        EXPECT_EQ(zeta->GetValue(c.key, value), c.text != nullptr) << c.key;
        EXPECT_EQ(value, c.text != nullptr ? c.text : "untouched") << c.key;
        EXPECT_EQ(zeta->HasValue(c.key), c.text != nullptr) << c.key;
    }
    const RWTValOrderedVector<RWCString> names = zeta->GetValueNames();
    std::vector<std::string> got;
    for (size_t i = 0; i < names.entries(); ++i) got.push_back(names[i].str());
    EXPECT_EQ(got, (std::vector<std::string>{"tag", "n", "big", "neg", "f", "e", "yes", "no"}));
    // Objects inside arrays are not children; "inner" is.
    EXPECT_EQ(Names(zeta->GetChildren()), std::vector<std::string>{"inner"});
}

TEST(ConfigRepository, PathsNameNestedObjects) {
    auto services = MustParse(kDocument);
    CFG_SubTree* rules = services->GetSubTree("lumivest\\system\\applications\\carbonell\\tag_parsing");
    ASSERT_NE(rules, nullptr);
    EXPECT_EQ(rules->GetName(), "tag_parsing");
    EXPECT_EQ(rules->GetPath(), "lumivest\\system\\applications\\carbonell\\tag_parsing");
    for (const char* same : {"lumivest/system/applications/carbonell/tag_parsing",
                             "\\lumivest\\system/applications\\\\carbonell\\tag_parsing\\"}) {
        EXPECT_EQ(services->GetSubTree(same), rules) << same;
    }
    EXPECT_EQ(services->GetRoot()
                  ->GetSubTree("lumivest")
                  ->GetSubTree("system\\applications\\carbonell")
                  ->GetSubTree("tag_parsing"),
              rules);
    EXPECT_EQ(services->GetSubTree(""), services->GetRoot());
    EXPECT_EQ(services->GetRoot()->GetPath(), "");
    for (const char* missing :
         {"lumivest\\system\\applicationz", "Lumivest", "zeta\\tag", "zeta\\list", "zeta\\list\\hidden",
          "lumivest\\system\\applications\\carbonell\\tag_parsing\\y"}) {
        EXPECT_EQ(services->GetSubTree(missing), nullptr) << missing;
    }
}

TEST(ConfigRepository, RefusesDocumentsThatAreNotRepositories) {
    const std::string deep = std::string(70, '[') + std::string(70, ']');
    std::string nested = "{";
    for (int i = 0; i < 70; ++i) nested += "\"a\":{";
    nested += std::string(71, '}');
    struct Case {
        std::string document;
        const char* error;
    };
    for (const Case& c : std::vector<Case>{
             {"{\n  \"a\": {\"tag\": \"x\",}\n}",
              "parse error at line 2, column 20: syntax error while parsing object key - unexpected '}'; "
              "expected string literal"},
             {"{\"a\": tru}", "parse error at line 1, column 10"},
             {"", "parse error at line 1, column 1"},
             {"{} {}", "parse error at line 1, column 4"},
             {"[1, 2]", "the top level of the document is not an object"},
             {"\"text\"", "the top level of the document is not an object"},
             {"{\"a\": [" + deep + "]}", "nest deeper than 64 levels"},
             {nested, "nest deeper than 64 levels"},
             {R"j({"r": {"tag": "A", "tag": "B"}})j", "member 'tag' appears twice in 'r'"},
             {R"j({"r": {}, "r": {}})j", "member 'r' appears twice in the top-level object"},
             {R"j({"r": {"x": {}, "x": "y"}})j", "member 'x' appears twice in 'r'"},
         }) {
        RWCString error;
        EXPECT_EQ(CFG_RepositoryServices::Parse(c.document, &error), nullptr) << c.document;
        EXPECT_NE(error.index(c.error), RW_NPOS) << "error [" << error.c_str() << "] for " << c.document;
    }
    // Equal names at different levels, and 64 levels exactly, are fine.
    EXPECT_NE(CFG_RepositoryServices::Parse(R"j({"r": {"r": {"r": "r"}}})j"), nullptr);
    std::string deepest = "{";
    for (int i = 0; i < 63; ++i) deepest += "\"a\":{";
    deepest += std::string(64, '}');
    EXPECT_NE(CFG_RepositoryServices::Parse(deepest), nullptr);
}

TEST(ConfigRepository, LoadReadsFilesAndNamesFailures) {
    const std::string good = TempFile("good.json", R"j({"a": {"b": "c"}})j");
    RWCString error;
    auto services = CFG_RepositoryServices::Load(good.c_str(), &error);
    ASSERT_NE(services, nullptr) << error.c_str();
    EXPECT_EQ(services->GetSource(), good.c_str());
    RWCString value;
    EXPECT_TRUE(services->GetSubTree("a")->GetValue("b", value));
    EXPECT_EQ(value, "c");

    EXPECT_EQ(CFG_RepositoryServices::Load((good + ".missing").c_str(), &error), nullptr);
    EXPECT_EQ(error, "cannot be opened: No such file or directory");
    EXPECT_EQ(CFG_RepositoryServices::Load(::testing::TempDir().c_str(), &error), nullptr);
    EXPECT_FALSE(error.isNull());
    std::remove(good.c_str());
}

TEST(ConfigRepository, SerialsAreNeverReused) {
    uint64_t last = 0;
    for (int i = 0; i < 3; ++i) {
        auto services = MustParse(R"j({"a": {}})j");
        const uint64_t serial = services->GetSubTree("a")->GetSerial();
        EXPECT_GT(serial, last);
        EXPECT_NE(serial, services->GetRoot()->GetSerial());
        last = serial;
    }
}

// --- the process-wide repository: one load per process, so each case runs in a child ---

struct LevelSink {
    std::vector<Kvl_LogRecord> records;
    LevelSink() {
        KvlGLog.SetDefaultSink(false);
        KvlGLog.SetLevel(7);
        KvlGLog.AddSink([this](const Kvl_LogRecord& r) { records.push_back(r); });
    }
};

TEST(ConfigFactory, WithoutIodConfigThereIsNoRepository) {
    RunInChild([](ChildChecks& checks) {
        LevelSink sink;
        ::unsetenv("IOD_CONFIG");
        CHILD_TRUE(checks, CFG_Factory::GetRepositoryServices() == nullptr);
        // Read once: setting the variable afterwards changes nothing.
        const std::string file = TempFile("later.json", "{}");
        ::setenv("IOD_CONFIG", file.c_str(), 1);
        CHILD_TRUE(checks, CFG_Factory::GetRepositoryServices() == nullptr);
        CHILD_EQ(checks, sink.records.size(), 0u);
    });
    RunInChild([](ChildChecks& checks) {
        LevelSink sink;
        ::setenv("IOD_CONFIG", "", 1);
        CHILD_TRUE(checks, CFG_Factory::GetRepositoryServices() == nullptr);
        CHILD_EQ(checks, sink.records.size(), 0u);
    });
}

TEST(ConfigFactory, LoadsTheFileOnce) {
    RunInChild([](ChildChecks& checks) {
        LevelSink sink;
        const std::string file = TempFile("once.json", R"j({"lumivest": {"system": {"k": 1}}})j");
        ::setenv("IOD_CONFIG", file.c_str(), 1);
        CFG_RepositoryServices* services = CFG_Factory::GetRepositoryServices();
        CHILD_TRUE(checks, services != nullptr);
        if (services == nullptr) return;
        CHILD_EQ(checks, services->GetSource(), file.c_str());
        CHILD_TRUE(checks, services->GetSubTree("lumivest/system") != nullptr);
        std::ofstream(file, std::ios::trunc) << "{ broken";
        CHILD_TRUE(checks, CFG_Factory::GetRepositoryServices() == services);
        std::remove(file.c_str());
    });
}

TEST(ConfigFactory, BadFileLeavesNoRepositoryAndOneLevel3Record) {
    struct Case {
        std::string content;  // empty: the file does not exist
        std::string reason;
    };
    for (const Case& c : std::vector<Case>{
             {"{\n \"a\": {\n  \"tag\" \"x\"\n }\n}",
              "parse error at line 3, column 11: syntax error while parsing object separator - unexpected "
              "string literal; expected ':'"},
             {"", "cannot be opened: No such file or directory"},
         }) {
        RunInChild([&c](ChildChecks& checks) {
            LevelSink sink;
            std::string file = ::testing::TempDir() + "cfg_absent_" + std::to_string(::getpid()) + ".json";
            if (!c.content.empty()) file = TempFile("bad.json", c.content);
            ::setenv("IOD_CONFIG", file.c_str(), 1);
            CHILD_TRUE(checks, CFG_Factory::GetRepositoryServices() == nullptr);
            CHILD_TRUE(checks, CFG_Factory::GetRepositoryServices() == nullptr);
            CHILD_EQ(checks, sink.records.size(), 1u);
            if (sink.records.size() != 1) return;
            const Kvl_LogRecord& r = sink.records[0];
            CHILD_EQ(checks, r.level, 3);
            CHILD_EQ(checks, r.category, 21);
            CHILD_EQ(checks, r.file, "platform/config/src/CFG_Factory");
            CHILD_EQ(checks, r.function, "CFG_Factory::GetRepositoryServices");
            CHILD_EQ(checks, r.text, "Configuration repository '" + file + "' is not used: " + c.reason);
            std::remove(file.c_str());
        });
    }
}

}  // namespace
