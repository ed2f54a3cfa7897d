// Oracle: runs the XML converter and parses what it prints.
#include "Oracle.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

extern char** environ;

#ifndef IOD_DCM2XML
#define IOD_DCM2XML ""
#endif

namespace {

bool IsExecutable(const std::string& path) {
    struct stat info {};
    return !path.empty() && ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

std::string ReadAll(int fd) {
    std::string out;
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        out.append(buffer, static_cast<size_t>(got));
    }
    return out;
}

// --- a small XML reader for the converter's output ---

struct Attribute {
    std::string name;
    std::string value;
};

struct Token {
    enum Kind { kOpen, kClose, kText, kEnd, kError } kind = kEnd;
    std::string name;
    std::vector<Attribute> attributes;
    bool selfClosing = false;
    std::string text;
};

// Appends the code point as one byte below 256 (the converter quotes single bytes that way when
// it leaves the character set alone), else as UTF-8.
void AppendCodePoint(std::string& out, unsigned long cp) {
    if (cp < 0x100) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

bool DecodeEntities(std::string_view in, std::string& out) {
    out.clear();
    for (size_t i = 0; i < in.size(); ++i) {
        if (in[i] != '&') {
            out.push_back(in[i]);
            continue;
        }
        const size_t semi = in.find(';', i);
        if (semi == std::string_view::npos) return false;
        const std::string_view entity = in.substr(i + 1, semi - i - 1);
        if (entity == "amp")
            out.push_back('&');
        else if (entity == "lt")
            out.push_back('<');
        else if (entity == "gt")
            out.push_back('>');
        else if (entity == "quot")
            out.push_back('"');
        else if (entity == "apos")
            out.push_back('\'');
        else if (entity.size() > 1 && entity[0] == '#') {
            const bool hex = entity[1] == 'x' || entity[1] == 'X';
            const std::string digits(entity.substr(hex ? 2 : 1));
            char* end = nullptr;
            const unsigned long cp = std::strtoul(digits.c_str(), &end, hex ? 16 : 10);
            if (digits.empty() || *end != '\0') return false;
            AppendCodePoint(out, cp);
        } else {
            return false;
        }
        i = semi;
    }
    return true;
}

class XmlReader {
public:
    explicit XmlReader(std::string_view xml) : m_xml(xml) {}

    Token Next() {
        Token token;
        for (;;) {
            if (m_pos >= m_xml.size()) return token;  // kEnd
            if (m_xml[m_pos] != '<') {
                const size_t lt = m_xml.find('<', m_pos);
                const std::string_view raw =
                    m_xml.substr(m_pos, lt == std::string_view::npos ? std::string_view::npos : lt - m_pos);
                m_pos = lt == std::string_view::npos ? m_xml.size() : lt;
                token.kind = Token::kText;
                if (!DecodeEntities(raw, token.text)) token.kind = Token::kError;
                return token;
            }
            if (m_xml.compare(m_pos, 2, "<?") == 0 || m_xml.compare(m_pos, 2, "<!") == 0) {
                const size_t gt = m_xml.find('>', m_pos);
                if (gt == std::string_view::npos) return Error();
                m_pos = gt + 1;
                continue;
            }
            break;
        }
        const size_t gt = m_xml.find('>', m_pos);
        if (gt == std::string_view::npos) return Error();
        std::string_view inner = m_xml.substr(m_pos + 1, gt - m_pos - 1);
        m_pos = gt + 1;
        if (!inner.empty() && inner[0] == '/') {
            token.kind = Token::kClose;
            token.name = std::string(Trim(inner.substr(1)));
            return token;
        }
        token.kind = Token::kOpen;
        if (!inner.empty() && inner.back() == '/') {
            token.selfClosing = true;
            inner.remove_suffix(1);
        }
        size_t i = 0;
        while (i < inner.size() && !IsSpace(inner[i])) ++i;
        token.name = std::string(inner.substr(0, i));
        while (i < inner.size()) {
            while (i < inner.size() && IsSpace(inner[i])) ++i;
            if (i >= inner.size()) break;
            const size_t eq = inner.find('=', i);
            if (eq == std::string_view::npos || eq + 1 >= inner.size() || inner[eq + 1] != '"')
                return Error();
            const size_t close = inner.find('"', eq + 2);
            if (close == std::string_view::npos) return Error();
            Attribute attribute;
            attribute.name = std::string(Trim(inner.substr(i, eq - i)));
            if (!DecodeEntities(inner.substr(eq + 2, close - eq - 2), attribute.value)) return Error();
            token.attributes.push_back(std::move(attribute));
            i = close + 1;
        }
        return token;
    }

private:
    static bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
    static std::string_view Trim(std::string_view s) {
        while (!s.empty() && IsSpace(s.front())) s.remove_prefix(1);
        while (!s.empty() && IsSpace(s.back())) s.remove_suffix(1);
        return s;
    }
    static Token Error() {
        Token token;
        token.kind = Token::kError;
        return token;
    }

    std::string_view m_xml;
    size_t m_pos = 0;
};

const std::string* FindAttribute(const Token& token, const char* name) {
    for (const Attribute& attribute : token.attributes) {
        if (attribute.name == name) return &attribute.value;
    }
    return nullptr;
}

bool ParseTag(const std::string& text, uint32_t* tag) {
    // "gggg,eeee"
    if (text.size() != 9 || text[4] != ',') return false;
    char* end = nullptr;
    const std::string group = text.substr(0, 4);
    const std::string element = text.substr(5, 4);
    const unsigned long g = std::strtoul(group.c_str(), &end, 16);
    if (*end != '\0') return false;
    const unsigned long e = std::strtoul(element.c_str(), &end, 16);
    if (*end != '\0') return false;
    *tag = static_cast<uint32_t>((g << 16) | e);
    return true;
}

class OracleParser {
public:
    explicit OracleParser(std::string_view xml) : m_reader(xml) {}

    bool Parse(OracleFile& out) {
        for (;;) {
            Token token = m_reader.Next();
            if (token.kind == Token::kEnd) return true;
            if (token.kind == Token::kError) return Fail(out, "malformed XML");
            if (token.kind != Token::kOpen) continue;  // whitespace, closing tags of containers
            if (token.name == "file-format") continue;
            if (token.name == "meta-header" || token.name == "data-set") {
                const bool meta = token.name == "meta-header";
                if (const std::string* xfer = FindAttribute(token, "xfer")) {
                    (meta ? out.metaSyntax : out.dataSetSyntax) = *xfer;
                }
                if (token.selfClosing) continue;
                if (!Elements(meta ? out.meta : out.dataSet, token.name)) return Fail(out, m_error);
                continue;
            }
            return Fail(out, "unexpected <" + token.name + ">");
        }
    }

private:
    bool Fail(OracleFile& out, const std::string& why) {
        out.parseError = why;
        return false;
    }

    // Reads elements and sequences up to </closing>.
    bool Elements(std::vector<OracleElement>& out, const std::string& closing) {
        for (;;) {
            Token token = m_reader.Next();
            switch (token.kind) {
                case Token::kEnd:
                    m_error = "unexpected end inside <" + closing + ">";
                    return false;
                case Token::kError:
                    m_error = "malformed XML inside <" + closing + ">";
                    return false;
                case Token::kText:
                    continue;
                case Token::kClose:
                    if (token.name == closing) return true;
                    m_error = "unexpected </" + token.name + "> inside <" + closing + ">";
                    return false;
                case Token::kOpen:
                    break;
            }
            OracleElement element;
            if (!Header(token, element)) return false;
            if (token.name == "element") {
                if (!token.selfClosing && !Text("element", element.text)) return false;
            } else if (token.name == "sequence") {
                if (!token.selfClosing && !SequenceContent(element)) return false;
            } else {
                m_error = "unexpected <" + token.name + "> inside <" + closing + ">";
                return false;
            }
            out.push_back(std::move(element));
        }
    }

    bool Header(const Token& token, OracleElement& element) {
        const std::string* tag = FindAttribute(token, "tag");
        const std::string* vr = FindAttribute(token, "vr");
        if (tag == nullptr || vr == nullptr || !ParseTag(*tag, &element.tag)) {
            m_error = "<" + token.name + "> without a valid tag or vr";
            return false;
        }
        element.vr = *vr;
        if (const std::string* len = FindAttribute(token, "len")) {
            element.hasLength = true;
            element.length = static_cast<uint32_t>(std::strtoul(len->c_str(), nullptr, 10));
        }
        const std::string* binary = FindAttribute(token, "binary");
        element.binary = binary != nullptr && *binary == "yes";
        element.isSequence = token.name == "sequence";
        return true;
    }

    // Text content up to </closing>.
    bool Text(const std::string& closing, std::string& out) {
        for (;;) {
            Token token = m_reader.Next();
            if (token.kind == Token::kText) {
                out += token.text;
            } else if (token.kind == Token::kClose && token.name == closing) {
                return true;
            } else {
                m_error = "unexpected content inside <" + closing + ">";
                return false;
            }
        }
    }

    // Items (data sets) or pixel items (fragments) up to </sequence>.
    bool SequenceContent(OracleElement& element) {
        for (;;) {
            Token token = m_reader.Next();
            if (token.kind == Token::kText) continue;
            if (token.kind == Token::kClose && token.name == "sequence") return true;
            if (token.kind != Token::kOpen) {
                m_error = "unexpected content inside <sequence>";
                return false;
            }
            if (token.name == "item") {
                element.items.emplace_back();
                if (!token.selfClosing && !Elements(element.items.back().elements, "item")) return false;
            } else if (token.name == "pixel-item") {
                element.isSequence = false;
                element.isEncapsulated = true;
                element.fragments.emplace_back();
                if (!token.selfClosing && !Text("pixel-item", element.fragments.back())) return false;
            } else {
                m_error = "unexpected <" + token.name + "> inside <sequence>";
                return false;
            }
        }
    }

    XmlReader m_reader;
    std::string m_error;
};

}  // namespace

std::string OracleConverterPath() {
    if (IsExecutable(IOD_DCM2XML)) return IOD_DCM2XML;
    const char* pathEnv = std::getenv("PATH");
    std::string_view path = pathEnv != nullptr ? pathEnv : "/usr/bin:/bin";
    while (!path.empty()) {
        const size_t colon = path.find(':');
        const std::string dir(path.substr(0, colon));
        const std::string candidate = (dir.empty() ? std::string(".") : dir) + "/dcm2xml";
        if (IsExecutable(candidate)) return candidate;
        if (colon == std::string_view::npos) break;
        path.remove_prefix(colon + 1);
    }
    return {};
}

bool ParseOracleXml(const std::string& xml, OracleFile& out) { return OracleParser(xml).Parse(out); }

OracleFile RunOracle(const std::string& path, const std::vector<std::string>& extraArgs) {
    OracleFile result;
    const std::string converter = OracleConverterPath();
    if (converter.empty()) {
        result.parseError = "dcm2xml is not installed";
        return result;
    }
    // +M: load long values too; +Wb: print the bytes of OB/OW/UN values.
    std::vector<std::string> args = {converter, "+M", "+Wb"};
    args.insert(args.end(), extraArgs.begin(), extraArgs.end());
    args.push_back(path);
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);

    char errName[] = "/tmp/iod-oracle-XXXXXX";
    const int errFd = ::mkstemp(errName);
    int pipeFds[2];
    if (errFd < 0 || ::pipe(pipeFds) != 0) {
        result.parseError = std::string("cannot run dcm2xml: ") + std::strerror(errno);
        if (errFd >= 0) {
            ::close(errFd);
            ::unlink(errName);
        }
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errFd, 2);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    pid_t pid = 0;
    const int spawned = ::posix_spawn(&pid, converter.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    std::string xml;
    if (spawned == 0) {
        xml = ReadAll(pipeFds[0]);
        int status = 0;
        while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    } else {
        result.parseError = std::string("cannot run dcm2xml: ") + std::strerror(spawned);
    }
    ::close(pipeFds[0]);
    ::lseek(errFd, 0, SEEK_SET);
    result.diagnostics = ReadAll(errFd);
    ::close(errFd);
    ::unlink(errName);
    if (spawned == 0 && result.exitCode == 0) ParseOracleXml(xml, result);
    return result;
}

bool DecodeOracleHex(const std::string& text, std::string& bytes) {
    bytes.clear();
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\\', start);
        if (end == std::string::npos) end = text.size();
        const size_t digits = end - start;
        if (digits != 2 && digits != 4 && digits != 8 && digits != 16) return false;
        uint64_t value = 0;
        for (size_t i = start; i < end; ++i) {
            const char c = text[i];
            int v = 0;
            if (c >= '0' && c <= '9')
                v = c - '0';
            else if (c >= 'a' && c <= 'f')
                v = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F')
                v = c - 'A' + 10;
            else
                return false;
            value = (value << 4) | static_cast<uint64_t>(v);
        }
        for (size_t b = 0; b < digits / 2; ++b) bytes.push_back(static_cast<char>((value >> (8 * b)) & 0xFF));
        start = end + 1;
    }
    return true;
}
