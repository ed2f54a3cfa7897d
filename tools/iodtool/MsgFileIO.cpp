// MsgFileIO: see MsgFileIO.h.
#include "MsgFileIO.h"

#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_AttributeRegistry.h>

#include <cctype>
#include <cstdio>
#include <cstring>

#include "FileBytes.h"

std::unique_ptr<IOD_Msg> IodLoadMessage(const char* command, const char* path,
                                        std::vector<unsigned char>& bytes, bool forWriting) {
    const char* outcome = forWriting ? "; nothing written" : "";
    std::string error;
    if (!IodReadFileBytes(path, bytes, &error)) {
        std::fprintf(stderr, "iodtool %s: %s%s\n", command, error.c_str(), outcome);
        return nullptr;
    }
    if (bytes.size() > 0xFFFFFFFFull) {
        std::fprintf(stderr, "iodtool %s: %s: larger than 4 GiB%s\n", command, path, outcome);
        return nullptr;
    }
    int status = 0;
    auto msg = std::make_unique<IOD_Msg>(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
    if (status != 0) {
        std::fprintf(stderr, "iodtool %s: %s: not a DICOM file, or truncated or malformed%s\n", command, path,
                     outcome);
        return nullptr;
    }
    return msg;
}

bool IodIsFileImage(const std::vector<unsigned char>& bytes) {
    return bytes.size() >= 132 && std::memcmp(bytes.data() + 128, "DICM", 4) == 0;
}

bool IodSaveMessage(const char* command, const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax,
                    bool fileImage, const char* path) {
    std::vector<unsigned char> out;
    if (msg.Encode(out, syntax, fileImage) != 0) {
        std::fprintf(
            stderr,
            "iodtool %s: the result cannot be encoded in %s (a value too long for its length field, or "
            "one that syntax cannot hold); nothing written\n",
            command, IodDescribeSyntax(syntax).c_str());
        return false;
    }
    std::string error;
    if (!IodWriteFileAtomically(path, out, &error)) {
        std::fprintf(stderr, "iodtool %s: %s\n", command, error.c_str());
        return false;
    }
    return true;
}

Dicom_TransferSyntax IodParseSyntax(const std::string& text) {
    if (text == "implicit") return Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_UID);
    if (text == "explicit") return Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    if (text == "big") return Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_UID);
    if (text == "deflated") return Dicom_TransferSyntax(Dicom_TransferSyntax::DEFLATED_UID);
    return Dicom_TransferSyntax(text);
}

std::string IodDescribeSyntax(const Dicom_TransferSyntax& syntax) {
    const char* name = Dicom_UIDic::Name(syntax.GetUID().c_str());
    return name != nullptr ? std::string(name) + " (" + syntax.GetUID() + ")" : syntax.GetUID();
}

std::string IodPixelDataConflict(const Dicom_Msg& msg, const Dicom_TransferSyntax& target) {
    const Dicom_ME* pixels = msg.Find(Dicom_Tag(0x7FE0, 0x0010));
    const auto* value = pixels != nullptr ? dynamic_cast<const Dicom_OtherType*>(pixels->GetData()) : nullptr;
    if (value == nullptr) return {};
    const bool encapsulated = value->IsEncapsulated();
    const Dicom_TransferSyntax source = msg.GetWriteTransferSyntax();
    if (encapsulated && !target.IsEncapsulated())
        return "cannot write encapsulated pixel data in a native transfer syntax, " +
               IodDescribeSyntax(target);
    if (target.IsEncapsulated() && source.GetUID() != target.GetUID()) {
        return encapsulated ? "cannot move encapsulated pixel data to " + IodDescribeSyntax(target)
                            : "cannot write native pixel data in the encapsulated transfer syntax " +
                                  IodDescribeSyntax(target);
    }
    return {};
}

namespace {

// "gggg,eeee" or "(gggg,eeee)" in hexadecimal.
bool ParseNumericTag(std::string text, Dicom_Tag* tag) {
    if (text.size() == 11 && text.front() == '(' && text.back() == ')') text = text.substr(1, 9);
    if (text.size() != 9 || text[4] != ',') return false;
    unsigned int value = 0;
    for (size_t i = 0; i < 9; ++i) {
        if (i == 4) continue;
        const char c = text[i];
        if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
        value = value * 16 +
                static_cast<unsigned int>(std::isdigit(static_cast<unsigned char>(c))
                                              ? c - '0'
                                              : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10);
    }
    *tag = Dicom_Tag(value);
    return true;
}

}  // namespace

bool IodParseTag(const std::string& text, Dicom_Tag* tag, std::string* error) {
    if (ParseNumericTag(text, tag)) return true;
    int group = 0;
    std::string registryError;
    if (const IOD_AttributeInfo* info = IOD_AttributeRegistry::ParseName(text, &group, &registryError)) {
        *tag = IOD_AttributeRegistry::TagOf(*info, group);
        return true;
    }
    // Not an accessor name: a keyword of the data dictionary then.
    const Dicom_Tag keyword = Dicom_Tag::Construct_Tag(text.c_str());
    if (keyword != Dicom_Tag::ILLEGAL_TAG) {
        *tag = keyword;
        return true;
    }
    *error = registryError + " (nor a DICOM keyword or gggg,eeee)";
    return false;
}
