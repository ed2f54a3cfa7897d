// ValidateFile: see ValidateFile.h.
#include "ValidateFile.h"

#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_CRImage.h>
#include <IOD/IOD_CTImage.h>
#include <IOD/IOD_DXImage.h>
#include <IOD/IOD_IOImage.h>
#include <IOD/IOD_MFImage.h>
#include <IOD/IOD_MGImage.h>
#include <IOD/IOD_MRImage.h>
#include <IOD/IOD_NMImage.h>
#include <IOD/IOD_RFImage.h>
#include <IOD/IOD_RTImage.h>
#include <IOD/IOD_SCImage.h>
#include <IOD/IOD_StructuredReporting.h>
#include <IOD/IOD_USImage.h>
#include <IOD/IOD_VLImage.h>
#include <IOD/IOD_XAImage.h>
#include <KvlLog/Kvl_LogFile.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <unordered_map>

#include "FileBytes.h"

namespace {

// The result that the records logged on this thread belong to (null: not validating).
thread_local IodValidationResult* t_current = nullptr;
// Where inside the object the check that logs is looking (a structured report's content item
// path), asked by the sink on the thread that logs; null when the class keeps no such position.
thread_local const char* (*t_where)() = nullptr;

struct WhereSource {
    explicit WhereSource(const char* (*source)()) { t_where = source; }
    ~WhereSource() { t_where = nullptr; }
    WhereSource(const WhereSource&) = delete;
    WhereSource& operator=(const WhereSource&) = delete;
};

struct CurrentResult {
    explicit CurrentResult(IodValidationResult& result) { t_current = &result; }
    ~CurrentResult() { t_current = nullptr; }
    CurrentResult(const CurrentResult&) = delete;
    CurrentResult& operator=(const CurrentResult&) = delete;
};

// "...Attribute:NAME not valid" -> "NAME".
std::string AttributeOf(const std::string& text) {
    static constexpr char kKey[] = "Attribute:";
    const size_t at = text.find(kKey);
    if (at == std::string::npos) return {};
    const size_t begin = at + sizeof(kKey) - 1;
    const size_t end = text.find(" not valid", begin);
    return end == std::string::npos ? std::string() : text.substr(begin, end - begin);
}

void CollectRecord(const Kvl_LogRecord& record) {
    if (record.level != 4 || t_current == nullptr) return;
    const char* where = t_where != nullptr ? t_where() : nullptr;
    t_current->defects.push_back(
        {record.function, AttributeOf(record.text), record.text, where != nullptr ? where : ""});
}

// The bytes of a whole file. A file of up to kReadLimit bytes is read into a buffer of the
// thread, kept from file to file; a larger one is mapped read-only (its pixel data need not be
// touched). Mapping every file would cost, besides the faults, an munmap per file, which with
// several threads interrupts every core that runs one of them to flush its TLB: with -j 2 that
// made validating the corpus slower than with -j 1.
class InputBytes {
public:
    static constexpr size_t kReadLimit = 1 << 20;

    InputBytes(const std::string& path, std::string* error) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            *error = std::string("cannot open: ") + std::strerror(errno);
            return;
        }
        struct stat info {};
        if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
            *error = "not a regular file";
        } else if (info.st_size == 0) {
            *error = "empty file";
        } else if (static_cast<unsigned long long>(info.st_size) > 0xFFFFFFFFull) {
            *error = "larger than 4 GiB";
        } else if (static_cast<size_t>(info.st_size) <= kReadLimit) {
            Read(fd, static_cast<size_t>(info.st_size), error);
        } else {
            void* data = ::mmap(nullptr, static_cast<size_t>(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
            if (data == MAP_FAILED) {
                *error = std::string("cannot map: ") + std::strerror(errno);
            } else {
                data_ = data;
                size_ = static_cast<size_t>(info.st_size);
                mapped_ = true;
            }
        }
        ::close(fd);
    }
    ~InputBytes() {
        if (mapped_) ::munmap(data_, size_);
    }
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;

    void* data() const { return data_; }
    unsigned int size() const { return static_cast<unsigned int>(size_); }

private:
    void Read(int fd, size_t size, std::string* error) {
        thread_local std::vector<unsigned char> buffer;
        if (buffer.size() < size) buffer.resize(size);
        const long long got = IodReadUpTo(fd, buffer.data(), size);
        if (got != static_cast<long long>(size)) {
            *error = got < 0 ? std::string("cannot read: ") + std::strerror(errno) : "file shrank while read";
            return;
        }
        data_ = buffer.data();
        size_ = size;
    }

    void* data_ = nullptr;
    size_t size_ = 0;
    bool mapped_ = false;
};

std::string TrimmedUid(const Dicom_Type* value) {
    if (value == nullptr) return {};
    std::string uid(value->GetTextValue(0));
    while (!uid.empty() && (uid.back() == ' ' || uid.back() == '\0')) uid.pop_back();
    return uid;
}

template <class Iod>
int ValidateAs(void* buffer, unsigned int length, const std::string& /*sopClassUid*/) {
    int status = 0;
    const Iod message(buffer, length, 0, &status);
    if (status != 0) return -1;
    return message.IsValid() != 0 ? 1 : 0;
}

// The structured-report check. Everything that decides how an SR document is checked stands in
// this one function: the SOP class tells Basic Text, Enhanced and Comprehensive SR apart, and a
// WhereSource living here over the checks gives each defect its content item path.
int CheckStructuredReport(const IOD_StructuredReporting& report, const std::string& sopClassUid) {
    static const std::string basicText = TrimmedUid(&Dicom_UIDic::BASIC_TEXT_SR_STORAGE);
    static const std::string enhanced = TrimmedUid(&Dicom_UIDic::ENHANCED_SR_STORAGE);
    const WhereSource where(&IOD_StructuredReporting::CurrentContentItemPath);
    if (sopClassUid == basicText) return report.IsBasicTextSRValid();
    if (sopClassUid == enhanced) return report.IsEnhancedSRValid();
    // Comprehensive SR; a document of another class checked as SR (--class SR) is held to the
    // same rules, which enhanced documents share.
    return report.IsComprehensiveSRValid();
}

int ValidateStructuredReport(void* buffer, unsigned int length, const std::string& sopClassUid) {
    int status = 0;
    const IOD_StructuredReporting report(buffer, length, 0, &status);
    if (status != 0) return -1;
    return CheckStructuredReport(report, sopClassUid) != 0 ? 1 : 0;
}

}  // namespace

const std::vector<IodValidationClass>& IodValidationClasses() {
    static const std::vector<IodValidationClass> classes = {
        {"CR", "IOD_CRImage", "computed radiography image", ValidateAs<IOD_CRImage>},
        {"CT", "IOD_CTImage", "CT image", ValidateAs<IOD_CTImage>},
        {"DX", "IOD_DXImage", "digital X-ray image", ValidateAs<IOD_DXImage>},
        {"IO", "IOD_IOImage", "digital intra-oral X-ray image", ValidateAs<IOD_IOImage>},
        {"MF", "IOD_MFImage", "multi-frame secondary capture image", ValidateAs<IOD_MFImage>},
        {"MG", "IOD_MGImage", "digital mammography X-ray image", ValidateAs<IOD_MGImage>},
        {"MR", "IOD_MRImage", "MR image", ValidateAs<IOD_MRImage>},
        {"NM", "IOD_NMImage", "nuclear medicine image", ValidateAs<IOD_NMImage>},
        {"RF", "IOD_RFImage", "X-ray radiofluoroscopic image", ValidateAs<IOD_RFImage>},
        {"RT", "IOD_RTImage", "RT image", ValidateAs<IOD_RTImage>},
        {"SC", "IOD_SCImage", "secondary capture image", ValidateAs<IOD_SCImage>},
        {"SR", "IOD_StructuredReporting", "structured report", ValidateStructuredReport},
        {"US", "IOD_USImage", "ultrasound image", ValidateAs<IOD_USImage>},
        {"VL", "IOD_VLImage", "visible light image", ValidateAs<IOD_VLImage>},
        {"XA", "IOD_XAImage", "X-ray angiographic image", ValidateAs<IOD_XAImage>},
    };
    return classes;
}

const IodValidationClass* IodFindValidationClass(const std::string& name) {
    for (const IodValidationClass& entry : IodValidationClasses()) {
        if (name.size() == std::strlen(entry.name) && ::strcasecmp(name.c_str(), entry.name) == 0)
            return &entry;
    }
    return nullptr;
}

const IodValidationClass* IodValidationClassOf(const std::string& uid) {
    static const std::unordered_map<std::string, const IodValidationClass*> byUid = [] {
        const std::pair<const Dicom_UI*, const char*> storage[] = {
            {&Dicom_UIDic::COMPUTED_RADIOGRAPHY_IMAGE_STORAGE, "CR"},
            {&Dicom_UIDic::CT_IMAGE_STORAGE, "CT"},
            {&Dicom_UIDic::DIGITAL_X_RAY_IMAGE_STORAGE_FOR_PRESENTATION, "DX"},
            {&Dicom_UIDic::DIGITAL_X_RAY_IMAGE_STORAGE_FOR_PROCESSING, "DX"},
            {&Dicom_UIDic::DIGITAL_INTRA_ORAL_X_RAY_IMAGE_STORAGE_FOR_PRESENTATION, "IO"},
            {&Dicom_UIDic::DIGITAL_INTRA_ORAL_X_RAY_IMAGE_STORAGE_FOR_PROCESSING, "IO"},
            {&Dicom_UIDic::MULTI_FRAME_SINGLE_BIT_SECONDARY_CAPTURE_IMAGE_STORAGE, "MF"},
            {&Dicom_UIDic::MULTI_FRAME_GRAYSCALE_BYTE_SECONDARY_CAPTURE_IMAGE_STORAGE, "MF"},
            {&Dicom_UIDic::MULTI_FRAME_GRAYSCALE_WORD_SECONDARY_CAPTURE_IMAGE_STORAGE, "MF"},
            {&Dicom_UIDic::MULTI_FRAME_TRUE_COLOR_SECONDARY_CAPTURE_IMAGE_STORAGE, "MF"},
            {&Dicom_UIDic::DIGITAL_MAMMOGRAPHY_X_RAY_IMAGE_STORAGE_FOR_PRESENTATION, "MG"},
            {&Dicom_UIDic::DIGITAL_MAMMOGRAPHY_X_RAY_IMAGE_STORAGE_FOR_PROCESSING, "MG"},
            {&Dicom_UIDic::MR_IMAGE_STORAGE, "MR"},
            {&Dicom_UIDic::NUCLEAR_MEDICINE_IMAGE_STORAGE, "NM"},
            {&Dicom_UIDic::X_RAY_RADIOFLUOROSCOPIC_IMAGE_STORAGE, "RF"},
            {&Dicom_UIDic::RT_IMAGE_STORAGE, "RT"},
            {&Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE, "SC"},
            {&Dicom_UIDic::BASIC_TEXT_SR_STORAGE, "SR"},
            {&Dicom_UIDic::ENHANCED_SR_STORAGE, "SR"},
            {&Dicom_UIDic::COMPREHENSIVE_SR_STORAGE, "SR"},
            {&Dicom_UIDic::ULTRASOUND_IMAGE_STORAGE, "US"},
            {&Dicom_UIDic::ULTRASOUND_MULTI_FRAME_IMAGE_STORAGE, "US"},
            {&Dicom_UIDic::VL_ENDOSCOPIC_IMAGE_STORAGE, "VL"},
            {&Dicom_UIDic::VL_MICROSCOPIC_IMAGE_STORAGE, "VL"},
            {&Dicom_UIDic::VL_SLIDE_COORDINATES_MICROSCOPIC_IMAGE_STORAGE, "VL"},
            {&Dicom_UIDic::VL_PHOTOGRAPHIC_IMAGE_STORAGE, "VL"},
            {&Dicom_UIDic::X_RAY_ANGIOGRAPHIC_IMAGE_STORAGE, "XA"},
        };
        std::unordered_map<std::string, const IodValidationClass*> map;
        for (const auto& [constant, name] : storage)
            map.emplace(TrimmedUid(constant), IodFindValidationClass(name));
        return map;
    }();
    const auto found = byUid.find(uid);
    return found == byUid.end() ? nullptr : found->second;
}

IodDefectCapture::IodDefectCapture() : sink_(KvlGLog.AddSink(CollectRecord)), level_(KvlGLog.GetLevel()) {
    KvlGLog.SetDefaultSink(false);
    KvlGLog.SetLevel(4);
}

IodDefectCapture::~IodDefectCapture() {
    KvlGLog.SetLevel(level_);
    KvlGLog.SetDefaultSink(true);
    KvlGLog.RemoveSink(sink_);
}

IodValidationResult IodValidateFile(const std::string& path, const IodValidationClass* forced) {
    IodValidationResult result;
    result.path = path;
    std::string error;
    const InputBytes file(path, &error);
    if (file.data() == nullptr) {
        result.error = error;
        return result;
    }
    try {
        // The header alone names the SOP class; the chosen class then parses the whole file.
        std::string sopClassUid;
        {
            int status = 0;
            const Dicom_Msg header(file.data(), file.size(), 0, Dicom_TransferSyntax(), &status,
                                   Dicom_SwapInfo::FROM_MEMORY, true);
            if (status != 0) {
                result.error = "not a DICOM file, or truncated or malformed";
                return result;
            }
            sopClassUid = TrimmedUid(header.Get(Dicom_Tag(0x0008, 0x0016)));
        }
        const IodValidationClass* chosen = forced != nullptr ? forced : IodValidationClassOf(sopClassUid);
        if (chosen == nullptr) {
            result.verdict = IodVerdict::UnknownClass;
            result.error = sopClassUid.empty() ? "no SOP Class UID" : "SOP Class UID " + sopClassUid;
            const char* name = Dicom_UIDic::Name(sopClassUid.c_str());
            if (name != nullptr) result.error += std::string(" (") + name + ")";
            return result;
        }
        result.className = chosen->name;
        int verdict = -1;
        {
            const CurrentResult current(result);
            verdict = chosen->validate(file.data(), file.size(), sopClassUid);
        }
        if (verdict < 0) {
            result.className.clear();
            result.defects.clear();
            result.error = "not a DICOM file, or truncated or malformed";
            return result;
        }
        result.verdict = verdict == 1 ? IodVerdict::Valid : IodVerdict::Invalid;
    } catch (const std::exception& e) {
        result.verdict = IodVerdict::Invalid;
        result.error = std::string("validation stopped: ") + e.what();
    } catch (...) {
        result.verdict = IodVerdict::Invalid;
        result.error = "validation stopped by an unknown exception";
    }
    return result;
}

const char* IodVerdictText(IodVerdict verdict) {
    switch (verdict) {
        case IodVerdict::Valid:
            return "valid";
        case IodVerdict::Invalid:
            return "invalid";
        case IodVerdict::UnknownClass:
            return "unknown class";
        case IodVerdict::Unreadable:
            break;
    }
    return "unreadable";
}

namespace {

// The length of the well-formed UTF-8 sequence at `text[i]` (2 to 4), or 0.
size_t Utf8SequenceLength(const std::string& text, size_t i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                          : lead >= 0xE0 && lead <= 0xEF ? 3
                          : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                         : 0;
    if (length == 0 || i + length > text.size()) return 0;
    for (size_t k = 1; k < length; ++k) {
        if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return 0;
    }
    const auto second = static_cast<unsigned char>(text[i + 1]);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
        return 0;  // overlong forms, surrogates, beyond U+10FFFF
    return length;
}

}  // namespace

std::string IodJsonString(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out += escaped;
        } else if (byte < 0x80) {
            out += c;
        } else if (const size_t length = Utf8SequenceLength(text, i); length != 0) {
            out.append(text, i, length);
            i += length - 1;
        } else {
            // A byte that is not UTF-8 (file names and texts need not be): as the Latin-1 character
            // of the same number, so that every line stays valid JSON.
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out += escaped;
        }
    }
    out += '"';
    return out;
}

std::string IodValidationJson(const IodValidationResult& result) {
    std::string out = "{\"path\":" + IodJsonString(result.path);
    out += ",\"class\":";
    out += result.className.empty() ? std::string("null") : IodJsonString(result.className);
    out += ",\"valid\":";
    out += result.verdict == IodVerdict::Valid ? "true" : "false";
    if (result.verdict == IodVerdict::Unreadable) out += ",\"unreadable\":true";
    if (result.verdict == IodVerdict::UnknownClass) {
        out += ",\"error\":" + IodJsonString("unknown class: " + result.error);
    } else if (!result.error.empty()) {
        out += ",\"error\":" + IodJsonString(result.error);
    }
    out += ",\"defects\":[";
    for (size_t i = 0; i < result.defects.size(); ++i) {
        const IodValidationDefect& defect = result.defects[i];
        if (i > 0) out += ',';
        out += "{\"module\":" + IodJsonString(defect.module);
        out += ",\"attribute\":" + IodJsonString(defect.attribute);
        out += ",\"text\":" + IodJsonString(defect.text);
        if (!defect.where.empty()) out += ",\"where\":" + IodJsonString(defect.where);
        out += '}';
    }
    out += "]}";
    return out;
}
