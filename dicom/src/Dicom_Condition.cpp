// Dicom_Condition: evaluation of the tag-parsing rules of the configuration repository.
#include <CFG/CFG_SubTree.h>
#include <Dicom/Dicom_Condition.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <KvlLog/Kvl_LogFile.h>

#include <memory>
#include <mutex>
#include <optional>
#include <regex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr const char* kLogFile = "dicom/src/Dicom_Condition";
constexpr const char* kLogFunction = "Dicom_Condition::GetParsingsTagValue";
constexpr int kLogCategory = 20;  // the DICOM layer

// A rule as read from its subtree, ready to run.
struct CompiledRule {
    bool usable = false;
    RWCString tag;
    bool hasTag = false;
    std::vector<std::vector<Dicom_Tag>> sources;  // the path to each attribute read; empty: no source
    std::optional<std::regex> pattern;
    std::string value = "$&";
    std::optional<std::string> fallback;  // "default"
};

// Why `rule` cannot be used, or "" when it can; fills `out`.
std::string Compile(const CFG_SubTree& rule, CompiledRule& out) {
    out.hasTag = rule.GetValue("tag", out.tag);
    if (!out.hasTag) return "it has no \"tag\"";
    static const char* const kKeys[] = {"tag", "source", "pattern", "value", "default", "comment"};
    const RWTValOrderedVector<RWCString> names = rule.GetValueNames();
    for (size_t i = 0; i < names.entries(); ++i) {
        bool known = false;
        for (const char* key : kKeys) known = known || names[i] == key;
        if (!known) return "unknown member '" + names[i].str() + "'";
    }

    RWCString text;
    if (rule.GetValue("source", text)) {
        const std::string_view sources = text.view();
        size_t from = 0;
        while (true) {
            const size_t plus = sources.find('+', from);
            const std::string_view one =
                sources.substr(from, plus == std::string_view::npos ? plus : plus - from);
            std::vector<Dicom_Tag> path;
            size_t start = 0;
            while (true) {
                const size_t slash = one.find('/', start);
                const std::string name(
                    one.substr(start, slash == std::string_view::npos ? slash : slash - start));
                const Dicom_Tag tag = Dicom_Dictionary::Construct_Tag(name.c_str());
                if (tag == Dicom_Tag::ILLEGAL_TAG)
                    return "its source '" + text.str() + "' names no attribute";
                if (slash != std::string_view::npos) {
                    const Dicom_VR vr = Dicom_Dictionary::FindVR(tag);
                    if (vr != Dicom_VR::NONE && vr != Dicom_VR::SQ && vr != Dicom_VR::UN)
                        return "its source '" + text.str() + "' reads through '" + name +
                               "', which is not a sequence";
                }
                path.push_back(tag);
                if (slash == std::string_view::npos) break;
                start = slash + 1;
            }
            out.sources.push_back(std::move(path));
            if (plus == std::string_view::npos) break;
            from = plus + 1;
        }
    }
    if (rule.GetValue("pattern", text)) {
        try {
            out.pattern.emplace(text.str(), std::regex::ECMAScript);
        } catch (const std::regex_error& e) {
            return "its pattern '" + text.str() + "' does not compile: " + e.what();
        }
    }
    if (rule.GetValue("value", text)) out.value = text.str();
    if (rule.GetValue("default", text)) out.fallback = text.str();
    out.usable = true;
    return std::string();
}

// Compiled rules by subtree serial number. A rule is compiled, and a malformed one reported,
// once; lookups share the lock.
class RuleCache {
public:
    std::shared_ptr<const CompiledRule> Get(const CFG_SubTree& rule) {
        {
            std::shared_lock lock(mutex_);
            auto it = rules_.find(rule.GetSerial());
            if (it != rules_.end()) return it->second;
        }
        std::unique_lock lock(mutex_);
        auto it = rules_.find(rule.GetSerial());
        if (it != rules_.end()) return it->second;
        auto compiled = std::make_shared<CompiledRule>();
        const std::string problem = Compile(rule, *compiled);
        if (!problem.empty() && KvlGLog.StoreParams(kLogFile, kLogFunction, __LINE__, 3, kLogCategory, 1))
            KvlGLog.Log("Parsing rule '%s' is not used: %s\n", rule.GetName().c_str(), problem.c_str());
        // Repositories loaded again and again (tools, tests) must not make the cache grow
        // without bound; the process-wide repository has far fewer rules than this.
        if (rules_.size() >= 4096) rules_.clear();
        rules_.emplace(rule.GetSerial(), compiled);
        return compiled;
    }

private:
    std::shared_mutex mutex_;
    std::unordered_map<uint64_t, std::shared_ptr<const CompiledRule>> rules_;
};

RuleCache& Cache() {
    static RuleCache cache;
    return cache;
}

// The text of a value: the values without their padding, joined by '\\'; numbers as printed.
// Sequences have none.
std::string ValueText(const Dicom_Type& v) {
    if (v.GetVR() == Dicom_VR::SQ) return std::string();
    if (Dicom_GetVRInfo(v.GetVR()).text && v.GetKind() == DICOM_KIND_MULTI_VALUED) {
        std::string out;
        const int n = v.GetVM();
        for (int i = 0; i < n; ++i) {
            if (i > 0) out += '\\';
            out += v.GetTextValue(i);
        }
        return out;
    }
    return v.ToString();
}

// The value at the end of `path` (first items of the sequences on the way), or null.
const Dicom_Type* Find(const Dicom_Msg& msg, const std::vector<Dicom_Tag>& path) {
    const Dicom_Msg* item = &msg;
    for (size_t i = 0; i + 1 < path.size(); ++i) {
        const Dicom_Type* v = item->Get(path[i]);
        if (v == nullptr || v->GetVR() != Dicom_VR::SQ) return nullptr;
        item = static_cast<const Dicom_SQ*>(v)->GetItem(0);
        if (item == nullptr) return nullptr;
    }
    return item->Get(path.back());
}

// `format` with "$&", "$1".."$9" and "$$" replaced.
std::string Expand(const std::string& format, const std::string& whole, const std::smatch* groups) {
    std::string out;
    for (size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        if (c != '$' || i + 1 == format.size()) {
            out += c;
            continue;
        }
        const char next = format[i + 1];
        if (next == '&') {
            out += whole;
            ++i;
        } else if (next == '$') {
            out += '$';
            ++i;
        } else if (next >= '1' && next <= '9') {
            const size_t n = static_cast<size_t>(next - '0');
            if (groups != nullptr && n < groups->size() && (*groups)[n].matched) out += (*groups)[n].str();
            ++i;
        } else {
            out += c;
        }
    }
    return out;
}

}  // namespace

bool Dicom_Condition::GetParsingsTagValue(const Dicom_Msg* msg, CFG_SubTree* rule, RWCString& tagName,
                                          RWCString& value) {
    if (msg == nullptr || rule == nullptr) return false;
    const std::shared_ptr<const CompiledRule> compiled = Cache().Get(*rule);
    if (compiled->hasTag) tagName = compiled->tag;
    if (!compiled->usable) return false;

    // The texts of the sources, joined by blanks; empty when every one is absent or empty.
    std::string text;
    bool any = false;
    for (size_t i = 0; i < compiled->sources.size(); ++i) {
        if (i > 0) text += ' ';
        if (const Dicom_Type* v = Find(*msg, compiled->sources[i])) {
            const std::string one = ValueText(*v);
            any = any || !one.empty();
            text += one;
        }
    }
    if (!any) text.clear();
    std::optional<std::string> produced;
    if (!text.empty()) {
        if (!compiled->pattern) {
            produced = Expand(compiled->value, text, nullptr);
        } else if (text.size() > kMaxSourceLength) {
            if (KvlGLog.StoreParams(kLogFile, kLogFunction, __LINE__, 6, kLogCategory, 1))
                KvlGLog.Log(
                    "Parsing rule '%s': the source value is longer than %zu characters and is not searched\n",
                    rule->GetName().c_str(), kMaxSourceLength);
        } else {
            std::smatch match;
            bool found = false;
            try {
                found = std::regex_search(text, match, *compiled->pattern);
            } catch (const std::regex_error& e) {
                if (KvlGLog.StoreParams(kLogFile, kLogFunction, __LINE__, 4, kLogCategory, 1))
                    KvlGLog.Log("Parsing rule '%s': the pattern cannot be searched: %s\n",
                                rule->GetName().c_str(), e.what());
            }
            if (found) produced = Expand(compiled->value, match.str(0), &match);
        }
    }
    if (!produced) produced = compiled->fallback;
    if (!produced) return false;
    value = RWCString(std::move(*produced));
    if (KvlGLog.StoreParams(kLogFile, kLogFunction, __LINE__, 7, kLogCategory, 1))
        KvlGLog.Log("Parsing rule '%s' produced %s='%s'\n", rule->GetName().c_str(), compiled->tag.c_str(),
                    value.c_str());
    return true;
}
