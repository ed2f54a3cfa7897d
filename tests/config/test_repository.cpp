// The configuration repository: document order, filters, values, paths, refused documents and
// the process-wide repository of IOD_CONFIG.
#include <CFG/CFG.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "ChildProcess.h"

namespace {

std::string Names(const RWTPtrOrderedVector<CFG_SubTree>& children) {
    std::string out;
    for (size_t i = 0; i < children.entries(); ++i) out += children[i]->GetName().str() + " ";
    return out;
}

std::string TempFile(const std::string& name, const std::string& content) {
    const std::string path = ::testing::TempDir() + "cfg_" + std::to_string(::getpid()) + "_" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

TEST(ConfigRepository, ChildrenValuesAndPaths) {
    RWCString error;
    auto services = CFG_RepositoryServices::Parse(R"j({
      "zeta": {"tag": "KOVEL_IS_MG", "n": 7, "big": 18446744073709551615, "neg": -3, "f": 1.50, "e": 1E3,
               "yes": true, "no": false, "nothing": null, "list": ["a", {"hidden": {}}], "inner": {"k": "v"}},
      "alpha": {}, "rule_2": {}, "rule_10": {},
      "lumivest": {"system": {"applications": {"carbonell": {"tag_parsing": {}}}}}})j",
                                                  &error);
    ASSERT_NE(services, nullptr) << error.c_str();
    CFG_SubTree* root = services->GetRoot();
    for (const auto& [filter, names] :
         std::vector<std::pair<const char*, const char*>>{{"", "zeta alpha rule_2 rule_10 lumivest "},
                                                          {"*", "zeta alpha rule_2 rule_10 lumivest "},
                                                          {"rule_*", "rule_2 rule_10 "},
                                                          {"rule_?", "rule_2 "},
                                                          {"*a", "zeta alpha "},
                                                          {"*u*e*", "rule_2 rule_10 lumivest "},
                                                          {"alp", ""}}) {
        EXPECT_EQ(Names(root->GetChildren(filter)), names) << filter;
    }
    EXPECT_THROW(root->GetChildren("alpha").at(1), RWBoundsErr);

    CFG_SubTree* zeta = services->GetSubTree("zeta");
    EXPECT_EQ(Names(zeta->GetChildren()), "inner ");  // not the object inside the array
    std::string values;
    const RWTValOrderedVector<RWCString> keys = zeta->GetValueNames();
    for (size_t i = 0; i < keys.entries(); ++i) {
        RWCString value;
        EXPECT_TRUE(zeta->GetValue(keys[i], value));
        values += keys[i].str() + "=" + value.str() + " ";
    }
    EXPECT_EQ(values, "tag=KOVEL_IS_MG n=7 big=18446744073709551615 neg=-3 f=1.50 e=1E3 yes=true no=false ");
    RWCString untouched("x");
    for (const char* absent : {"nothing", "list", "inner", "absent"}) {
        EXPECT_FALSE(zeta->GetValue(absent, untouched)) << absent;
        EXPECT_FALSE(zeta->HasValue(absent)) << absent;
    }
    EXPECT_EQ(untouched, "x");

    CFG_SubTree* rules = services->GetSubTree("lumivest\\system\\applications\\carbonell\\tag_parsing");
    ASSERT_NE(rules, nullptr);
    EXPECT_EQ(rules->GetPath(), "lumivest\\system\\applications\\carbonell\\tag_parsing");
    EXPECT_EQ(services->GetSubTree("/lumivest/system\\\\applications/carbonell/tag_parsing/"), rules);
    EXPECT_EQ(
        root->GetSubTree("lumivest")->GetSubTree("system\\applications")->GetSubTree("carbonell/tag_parsing"),
        rules);
    EXPECT_EQ(services->GetSubTree(""), root);
    for (const char* missing :
         {"lumivest\\systen", "Lumivest", "zeta\\tag", "zeta\\list", "zeta\\list\\hidden"})
        EXPECT_EQ(services->GetSubTree(missing), nullptr) << missing;
    // Serial numbers are never shared, not even with a later repository.
    EXPECT_GT(CFG_RepositoryServices::Parse("{}")->GetRoot()->GetSerial(), rules->GetSerial());
}

TEST(ConfigRepository, RefusedDocumentsSayWhy) {
    std::string nested = "{", deepest = "{";
    for (int i = 0; i < 64; ++i) nested += "\"a\":{";
    for (int i = 0; i < 63; ++i) deepest += "\"a\":{";
    nested += std::string(65, '}');
    deepest += std::string(64, '}');
    for (const auto& [document, reason] : std::vector<std::pair<std::string, const char*>>{
             {"{\n  \"a\": {\"tag\": \"x\",}\n}",
              "parse error at line 2, column 20: syntax error while parsing object key"},
             {"", "parse error at line 1, column 1"},
             {"{} {}", "parse error at line 1, column 4"},
             {"[1, 2]", "the top level of the document is not an object"},
             {"\"text\"", "the top level of the document is not an object"},
             {"{\"a\": [" + std::string(64, '[') + std::string(64, ']') + "]}",
              "objects and arrays nest deeper than 64 levels"},
             {nested, "objects and arrays nest deeper than 64 levels"},
             {R"j({"r": {"tag": "A", "tag": "B"}})j", "member 'tag' appears twice in 'r'"},
             {R"j({"r": {}, "r": {}})j", "member 'r' appears twice in the top-level object"},
             {R"j({"r": {"x": {}, "x": "y"}})j", "member 'x' appears twice in 'r'"}}) {
        RWCString error;
        EXPECT_EQ(CFG_RepositoryServices::Parse(document, &error), nullptr) << document;
        EXPECT_EQ(error.str().substr(0, std::strlen(reason)), reason) << document;
    }
    EXPECT_NE(CFG_RepositoryServices::Parse(deepest), nullptr);
    EXPECT_NE(CFG_RepositoryServices::Parse(R"j({"r": {"r": {"r": "r"}}})j"), nullptr);

    RWCString error;
    EXPECT_EQ(CFG_RepositoryServices::Load("/nonexistent/repository.json", &error), nullptr);
    EXPECT_EQ(error, "cannot be opened: No such file or directory");
    const std::string file = TempFile("good.json", R"j({"a": {"b": "c"}})j");
    auto loaded = CFG_RepositoryServices::Load(file.c_str(), &error);
    ASSERT_NE(loaded, nullptr) << error.c_str();
    EXPECT_EQ(loaded->GetSource(), file.c_str());
    EXPECT_TRUE(loaded->GetSubTree("a")->HasValue("b"));
    std::remove(file.c_str());
}

// The process-wide repository, one case per child process: IOD_CONFIG (null: unset) and the
// file content (null: no file), whether there is a repository, and the one record expected.
TEST(ConfigFactory, LoadsIodConfigOnceOrSaysWhyNot) {
    struct Case {
        const char* content;
        bool unset;
        bool loaded;
        const char* record;  // the level-3 record after the file name, or null for none
    };
    for (const Case& c : std::vector<Case>{
             {nullptr, true, false, nullptr},
             {R"j({"lumivest": {"system": {}}})j", false, true, nullptr},
             {"{\n \"a\": {\n  \"tag\" \"x\"\n }\n}", false, false,
              "' is not used: parse error at line 3, column 11: syntax error while parsing object separator "
              "- "
              "unexpected string literal; expected ':'"},
             {nullptr, false, false, "' is not used: cannot be opened: No such file or directory"}}) {
        RunInChild([&c](ChildChecks& checks) {
            std::vector<Kvl_LogRecord> records;
            KvlGLog.SetDefaultSink(false);
            KvlGLog.AddSink([&records](const Kvl_LogRecord& r) {
                if (r.level <= 4) records.push_back(r);
            });
            const std::string file =
                c.content ? TempFile("factory.json", c.content) : "/nonexistent/cfg.json";
            if (c.unset) {
                ::unsetenv("IOD_CONFIG");
            } else {
                ::setenv("IOD_CONFIG", file.c_str(), 1);
            }
            CFG_RepositoryServices* services = CFG_Factory::GetRepositoryServices();
            CHILD_EQ(checks, services != nullptr, c.loaded);
            if (services) CHILD_EQ(checks, services->GetSubTree("lumivest/system") != nullptr, true);
            // Read once: a changed variable or file is not seen.
            if (c.content) std::ofstream(file, std::ios::trunc) << "{ broken";
            ::setenv("IOD_CONFIG", file.c_str(), 1);
            CHILD_EQ(checks, CFG_Factory::GetRepositoryServices(), services);
            CHILD_EQ(checks, records.size(), c.record ? 1u : 0u);
            if (c.record && records.size() == 1) {
                CHILD_EQ(checks, records[0].level, 3);
                CHILD_EQ(checks, records[0].category, 21);
                CHILD_EQ(checks, records[0].file, "platform/config/src/CFG_Factory");
                CHILD_EQ(checks, records[0].function, "CFG_Factory::GetRepositoryServices");
                CHILD_EQ(checks, records[0].text, "Configuration repository '" + file + c.record);
            }
            std::remove(file.c_str());
        });
    }
}

}  // namespace
