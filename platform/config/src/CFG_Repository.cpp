// The configuration repository: a JSON document turned into a tree of CFG_SubTree objects.
//
// The document is read with nlohmann-json's event (SAX) parser: the tree is built as the events
// arrive, without an intermediate JSON document, without recursion, and with the text of every
// number as the document writes it.
#include <CFG/CFG_RepositoryServices.h>
#include <CFG/CFG_SubTree.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_set>

namespace {

std::atomic<uint64_t> g_nextSerial{1};

// `name` matches `pattern` ('*' any run, '?' any one character). Greedy with one backtrack
// point: linear in practice, never exponential.
bool MatchesFilter(std::string_view name, std::string_view pattern) {
    size_t n = 0, p = 0;
    size_t starP = std::string_view::npos, starN = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++n;
            ++p;
        } else if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starN = n;
        } else if (starP != std::string_view::npos) {
            p = starP + 1;
            n = ++starN;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

}  // namespace

// --- CFG_SubTree ---

CFG_SubTree::CFG_SubTree(RWCString name, RWCString path)
    : name_(std::move(name)), path_(std::move(path)), serial_(g_nextSerial.fetch_add(1)) {}

CFG_SubTree::~CFG_SubTree() = default;

RWTPtrOrderedVector<CFG_SubTree> CFG_SubTree::GetChildren(const RWCString& filter) const {
    RWTPtrOrderedVector<CFG_SubTree> out(children_.size());
    for (const auto& child : children_) {
        if (filter.isNull() || MatchesFilter(child->name_.view(), filter.view())) out.append(child.get());
    }
    return out;
}

CFG_SubTree* CFG_SubTree::GetSubTree(const RWCString& path) const {
    const CFG_SubTree* node = this;
    const std::string_view p = path.view();
    size_t i = 0;
    while (i < p.size()) {
        if (IsSeparator(p[i])) {
            ++i;
            continue;
        }
        size_t end = i;
        while (end < p.size() && !IsSeparator(p[end])) ++end;
        const std::string_view name = p.substr(i, end - i);
        const CFG_SubTree* next = nullptr;
        for (const auto& child : node->children_) {
            if (child->name_.view() == name) {
                next = child.get();
                break;
            }
        }
        if (next == nullptr) return nullptr;
        node = next;
        i = end;
    }
    return const_cast<CFG_SubTree*>(node);
}

bool CFG_SubTree::GetValue(const RWCString& key, RWCString& value) const {
    for (const auto& [k, v] : values_) {
        if (k == key) {
            value = v;
            return true;
        }
    }
    return false;
}

bool CFG_SubTree::HasValue(const RWCString& key) const {
    for (const auto& kv : values_) {
        if (kv.first == key) return true;
    }
    return false;
}

RWTValOrderedVector<RWCString> CFG_SubTree::GetValueNames() const {
    RWTValOrderedVector<RWCString> out(values_.size());
    for (const auto& kv : values_) out.append(kv.first);
    return out;
}

// --- building the tree from parser events ---

class CFG_TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    std::unique_ptr<CFG_SubTree> root;
    std::string error;

    bool null() override { return add(nullptr); }
    bool boolean(bool val) override {
        std::string text = val ? "true" : "false";
        return add(&text);
    }
    bool number_integer(number_integer_t val) override {
        std::string text = std::to_string(val);
        return add(&text);
    }
    bool number_unsigned(number_unsigned_t val) override {
        std::string text = std::to_string(val);
        return add(&text);
    }
    bool number_float(number_float_t, const string_t& text) override {
        std::string copy = text;
        return add(&copy);
    }
    bool string(string_t& val) override { return add(&val); }
    bool binary(binary_t&) override { return fail("binary values are not JSON"); }

    bool start_object(std::size_t) override {
        if (!enter()) return false;
        if (ignored_ > 0) {
            ++ignored_;
            return true;
        }
        if (!root) {
            root.reset(new CFG_SubTree(RWCString(), RWCString()));
            stack_.push_back(Frame{root.get(), {}});
            return true;
        }
        CFG_SubTree* parent = stack_.back().node;
        RWCString path = parent->path_.isNull() ? RWCString(key_) : parent->path_ + "\\" + key_.c_str();
        parent->children_.emplace_back(new CFG_SubTree(RWCString(key_), std::move(path)));
        stack_.push_back(Frame{parent->children_.back().get(), {}});
        return true;
    }
    bool key(string_t& val) override {
        if (ignored_ > 0) return true;
        if (!stack_.back().keys.insert(val).second) {
            const RWCString& path = stack_.back().node->path_;
            return fail("member '" + val + "' appears twice in " +
                        (path.isNull() ? std::string("the top-level object") : "'" + path.str() + "'"));
        }
        key_ = std::move(val);
        return true;
    }
    bool end_object() override {
        --depth_;
        if (ignored_ > 0) {
            --ignored_;
        } else {
            stack_.pop_back();
        }
        return true;
    }
    bool start_array(std::size_t) override {
        if (!root) return fail("the top level of the document is not an object");
        if (!enter()) return false;
        ++ignored_;
        return true;
    }
    bool end_array() override {
        --depth_;
        --ignored_;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& ex) override {
        // "[json.exception.parse_error.101] parse error at line 1, column 5: ..." without the
        // bracketed identifier.
        std::string text = ex.what();
        const size_t close = text.find("] ");
        if (text.compare(0, 1, "[") == 0 && close != std::string::npos) text.erase(0, close + 2);
        return fail(text);
    }

private:
    struct Frame {
        CFG_SubTree* node;
        std::unordered_set<std::string> keys;
    };

    bool fail(std::string text) {
        if (error.empty()) error = std::move(text);
        return false;
    }
    bool enter() {
        if (++depth_ > CFG_RepositoryServices::kMaxDepth) {
            return fail("objects and arrays nest deeper than " +
                        std::to_string(CFG_RepositoryServices::kMaxDepth) + " levels");
        }
        return true;
    }
    // A string, number or boolean (its text), or null (no text): a value of the current object.
    bool add(std::string* text) {
        if (!root) return fail("the top level of the document is not an object");
        if (ignored_ > 0 || text == nullptr) return true;
        stack_.back().node->values_.emplace_back(RWCString(key_), RWCString(std::move(*text)));
        return true;
    }

    std::vector<Frame> stack_;
    std::string key_;
    int depth_ = 0;
    int ignored_ = 0;  // > 0 while inside an array: nothing there is kept
};

// --- CFG_RepositoryServices ---

CFG_RepositoryServices::CFG_RepositoryServices(std::unique_ptr<CFG_SubTree> root, RWCString source)
    : root_(std::move(root)), source_(std::move(source)) {}

CFG_RepositoryServices::~CFG_RepositoryServices() = default;

std::unique_ptr<CFG_RepositoryServices> CFG_RepositoryServices::Parse(std::string_view document,
                                                                      RWCString* error) {
    CFG_TreeBuilder builder;
    const bool ok = nlohmann::json::sax_parse(document.begin(), document.end(), &builder);
    if (!ok || !builder.root) {
        if (error != nullptr) *error = builder.error.empty() ? "not a JSON object" : builder.error;
        return nullptr;
    }
    return std::unique_ptr<CFG_RepositoryServices>(new CFG_RepositoryServices(std::move(builder.root), ""));
}

std::unique_ptr<CFG_RepositoryServices> CFG_RepositoryServices::Load(const RWCString& file,
                                                                     RWCString* error) {
    std::ifstream in(file.c_str(), std::ios::binary);
    if (!in) {
        if (error != nullptr) *error = std::string("cannot be opened: ") + std::strerror(errno);
        return nullptr;
    }
    std::string text;
    char chunk[65536];
    while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
        text.append(chunk, static_cast<size_t>(in.gcount()));
        if (text.size() > kMaxFileSize) {
            if (error != nullptr) *error = "is larger than " + std::to_string(kMaxFileSize) + " bytes";
            return nullptr;
        }
    }
    if (in.bad()) {
        if (error != nullptr) *error = std::string("cannot be read: ") + std::strerror(errno);
        return nullptr;
    }
    std::unique_ptr<CFG_RepositoryServices> services = Parse(text, error);
    if (services) services->source_ = file;
    return services;
}

CFG_SubTree* CFG_RepositoryServices::GetSubTree(const RWCString& path) const {
    return root_->GetSubTree(path);
}
