// The XML (Native DICOM Model) and JSON exports of a message, on a hand-made data set that has
// one value of each form.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "test_codec_builder.h"

using namespace testbytes;

namespace {

std::unique_ptr<Dicom_Msg> Sample() {
    const double fd = 0.5;
    Bytes b, item = Bytes().ex(0x0008, 0x0100, "SH", "C1");
    b.ex(0x0008, 0x0008, "CS", "A\\\\B ");         // an empty value in the middle
    b.ex(0x0008, 0x0090, "PN", "^^^^");            // delimiters only: no value
    b.ex(0x0010, 0x0010, "PN", "Doe^John=D^J\r");  // two groups (and a stray CR)
    b.ex(0x0010, 0x0020, "LO", "");                // empty
    b.ex(0x0018, 0x0050, "DS", "+2.50 ");          // not a JSON number as written
    b.ex(0x0020, 0x0013, "IS", " 7");
    b.ex(0x0020, 0x9165, "AT", U16(0x0028) + U16(0x0010));
    b.ex(0x0028, 0x0010, "US", U16(512) + U16(1));
    b.ex(0x0029, 0x0010, "LO", "ACME ");
    b.ex(0x0029, 0x1001, "OB", std::string("\x01\x02\x03\x04", 4));
    b.ex(0x0040, 0x9212, "FD", std::string(reinterpret_cast<const char*>(&fd), 8));
    b.exh(0x0040, 0x0275, "SQ", static_cast<uint32_t>(item.size() + 8))
        .item(static_cast<uint32_t>(item.size()))
        .raw(item.b);
    int status = 0;
    auto msg = std::make_unique<Dicom_Msg>(b.data(), b.size(), 1, kExplicit, &status);
    EXPECT_EQ(status, 0);
    return msg;
}

TEST(Models, Json) {
    const std::unique_ptr<Dicom_Msg> msg = Sample();
    std::string json;
    ASSERT_EQ(msg->DumpToJson(&json), 0);
    EXPECT_EQ(
        json,
        "{\"00080008\":{\"vr\":\"CS\",\"Value\":[\"A\",null,\"B\"]},"
        "\"00080090\":{\"vr\":\"PN\"},"
        "\"00100010\":{\"vr\":\"PN\",\"Value\":[{\"Alphabetic\":\"Doe^John\",\"Ideographic\":\"D^J\\u000D\"}]},"
        "\"00100020\":{\"vr\":\"LO\"},"
        "\"00180050\":{\"vr\":\"DS\",\"Value\":[2.5]},"
        "\"00200013\":{\"vr\":\"IS\",\"Value\":[7]},"
        "\"00209165\":{\"vr\":\"AT\",\"Value\":[\"00280010\"]},"
        "\"00280010\":{\"vr\":\"US\",\"Value\":[512,1]},"
        "\"00290010\":{\"vr\":\"LO\",\"Value\":[\"ACME\"]},"
        "\"00291001\":{\"vr\":\"OB\",\"InlineBinary\":\"AQIDBA==\"},"
        "\"00400275\":{\"vr\":\"SQ\",\"Value\":[{\"00080100\":{\"vr\":\"SH\",\"Value\":[\"C1\"]}}]},"
        "\"00409212\":{\"vr\":\"FD\",\"Value\":[0.5]}}");
    // Byte strings over the limit keep their VR only.
    std::string limited;
    ASSERT_EQ(msg->DumpToJson(&limited, 3), 0);
    EXPECT_NE(limited.find("\"00291001\":{\"vr\":\"OB\"}"), std::string::npos) << limited;
    ASSERT_EQ(msg->DumpToJson(&limited, 4), 0);
    EXPECT_NE(limited.find("AQIDBA=="), std::string::npos);
}

TEST(Models, Xml) {
    const std::unique_ptr<Dicom_Msg> msg = Sample();
    std::string xml;
    ASSERT_EQ(msg->DumpToXml(DICOM_XML_PRINT_VALUES, &xml), 0);
    const char* expected[] = {
        "<NativeDicomModel xml:space=\"preserve\">\n<DicomAttribute tag=\"00080008\" vr=\"CS\" keyword=\"ImageType\">\n"
        "<Value number=\"1\">A</Value>\n<Value number=\"2\"></Value>\n<Value number=\"3\">B</Value>\n",
        "<DicomAttribute tag=\"00080090\" vr=\"PN\" keyword=\"ReferringPhysicianName\">\n</DicomAttribute>\n",
        "<PersonName number=\"1\">\n<Alphabetic>\n<FamilyName>Doe</FamilyName>\n<GivenName>John</GivenName>\n"
        "</Alphabetic>\n<Ideographic>\n<FamilyName>D</FamilyName>\n<GivenName>J&#13;</GivenName>\n</Ideographic>\n"
        "</PersonName>\n",
        "<DicomAttribute tag=\"00209165\" vr=\"AT\" keyword=\"DimensionIndexPointer\">\n<Value number=\"1\">00280010</Value>",
        "<DicomAttribute tag=\"00290001\" vr=\"OB\" privateCreator=\"ACME\">\n<InlineBinary>AQIDBA==</InlineBinary>\n",
        "<DicomAttribute tag=\"00400275\" vr=\"SQ\" keyword=\"RequestAttributesSequence\">\n<Item number=\"1\">\n"
        "<DicomAttribute tag=\"00080100\" vr=\"SH\" keyword=\"CodeValue\">\n<Value number=\"1\">C1</Value>\n"
        "</DicomAttribute>\n</Item>\n</DicomAttribute>\n<DicomAttribute tag=\"00409212\"",
    };
    for (const char* part : expected) EXPECT_NE(xml.find(part), std::string::npos) << part << "\nin\n" << xml;

    // Tags only: byte strings left out; a tag list restricts the top level.
    RWTPtrOrderedVector<Dicom_Tag> tags;
    Dicom_Tag privateTag(0x0029, 0x1001), sequence(0x0040, 0x0275);
    tags.insert(&privateTag);
    tags.insert(&sequence);
    std::string restricted;
    ASSERT_EQ(msg->DumpToXml(DICOM_XML_PRINT_TAGS_ONLY, &restricted, &tags), 0);
    EXPECT_EQ(restricted.find("InlineBinary"), std::string::npos);
    EXPECT_EQ(restricted.find("00080008"), std::string::npos);
    EXPECT_NE(restricted.find(
                  "<DicomAttribute tag=\"00290001\" vr=\"OB\" privateCreator=\"ACME\">\n</DicomAttribute>"),
              std::string::npos)
        << restricted;
    EXPECT_NE(restricted.find("<Value number=\"1\">C1</Value>"), std::string::npos);

    // One element alone.
    std::string one;
    ASSERT_EQ(msg->Find(Dicom_Tag(0x0028, 0x0010))->DumpToXml(DICOM_XML_PRINT_VALUES, &one), 0);
    EXPECT_EQ(
        one,
        "<DicomAttribute tag=\"00280010\" vr=\"US\" keyword=\"Rows\">\n<Value number=\"1\">512</Value>\n"
        "<Value number=\"2\">1</Value>\n</DicomAttribute>\n");
    EXPECT_EQ(msg->DumpToXml(DICOM_XML_PRINT_VALUES, nullptr), -1);
}

}  // namespace
