// IOD_StructuredReporting: the structured report document IOD.
//
// IsValid checks nothing (always 1); the SR document checks are separate members.
//
// SR validators: const members returning 1 (valid) or 0 (invalid) that only read the message.
// Unlike the image module validators they stop at their first defect: one call logs at most one
// record of its own (level 4, category 19, source file "src/IOD/IOD_StructuredReporting", the
// validator's qualified name as the function), besides what the shared helpers of IOD_Image
// log. With IOD_IOD::IsTolerant equal to 1 a validator returns 1 at its start without reading
// anything, except IsSRDocumentContentModuleValid (it leaves that to the two checks it runs),
// IsReferenceSOPSequenceValid and IsSRSopInstanceRefValid, which never consult it.
//
// The content tree: the content module runs the relationship rules and then the content item
// macro on a data set. The relationship rules visit every item of its Content Sequence
// (0040,A730) and run the content module again with the item as the data set, for every
// by-value relationship (CONTAINS, or any type without a Referenced Content Item Identifier
// (0040,DB73)); by-reference relationships are not followed and a CONTAINS by reference is a
// defect. The nested checks read the item where the sequence keeps it (no copy). The content
// items of a data set are examined depth first, each item's descendants before its own macro.
//
// Depth: an item nested more than kMaxContentItemDepth levels below the document (the items of
// the document's own Content Sequence are at level 1) is a defect: "IsSRDocumentRelationshipValid:
// content item nested deeper than 128 levels\n", and the check ends there.
//
// Where: while a check runs, CurrentContentItemPath() names the content item being examined,
// for a log sink to read when a record is delivered (sinks run on the logging thread).
#pragma once

#include <IOD/IOD_Image.h>

class Dicom_Msg;
class Dicom_Sequence;

class IOD_StructuredReporting : public IOD_Image {
public:
    // The document kinds. Only zero (basic text) and non-zero matter: enhanced and
    // comprehensive documents are checked alike.
    enum SR_Kinds { SR_BASIC_TEXT = 0, SR_ENHANCED = 1, SR_COMPREHENSIVE = 2 };

    // Deepest level of a content item below the document that the checks accept.
    static constexpr int kMaxContentItemDepth = 128;

    IOD_StructuredReporting();
    IOD_StructuredReporting(const IOD_StructuredReporting& other);
    IOD_StructuredReporting(void* buffer, unsigned int length, int copy, int* status);
    IOD_StructuredReporting(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax,
                            int* status);
    IOD_StructuredReporting(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid,
                            int* status);
    ~IOD_StructuredReporting() override;
    // Not assignable: copy-construct instead.
    IOD_StructuredReporting& operator=(const IOD_StructuredReporting&) = delete;

    // Image coordinates: accepts every message.
    int IsImageCoordinatesValid() const { return 1; }

    // --- documents: patient, general study, SR document series, general equipment, SR
    // document and SR document content modules, in this order, up to the first that fails ---
    int IsBasicTextSRValid() const;
    int IsEnhancedSRValid() const;
    int IsComprehensiveSRValid() const;

    // --- modules ---
    // Modality, Series Instance UID, Series Number, and the presence of (0008,1111).
    int IsSRDocSeriesModuleValid() const;
    // Instance Number, completion and verification flags, content date and time; for a VERIFIED
    // document also the verification date time, observer name and organization (top level).
    int IsSRDocumentModuleValid() const;
    // The relationship rules, then the content item macro.
    int IsSRDocumentContentModuleValid(SR_Kinds kind) const;
    // Content item macro: concept name and value by value type.
    int IsSRDocumentContentMacroValid(SR_Kinds kind) const;
    // Observation date time, content template, and the content items (recursively).
    int IsSRDocumentRelationshipValid(SR_Kinds kind) const;

    // --- value types ---
    int IsNumericMeasurementValid() const;
    int IsCodeMacroValid() const;
    int IsCompositeObjectReferenceValid() const;
    int IsImageReferenceValid() const;
    int IsSpatialCoordinatesValid() const;
    // Study Instance UID and Referenced Series Sequence (0008,1115); no document check calls it.
    int IsSRSopInstanceRefValid() const;

    // --- reference sequences ---
    int IsReferenceSeriesSequenceValid(Dicom_Sequence* sequence) const;
    int IsReferenceSOPSequenceValid(Dicom_Sequence* sequence) const;

    // The content item that the calling thread's running SR check examines, as the path of
    // Content Sequence items from the document, "ContentSequence[2]/ContentSequence[0]"
    // (0-based item numbers); "" while the document's own top level is examined or no check
    // runs. The text is valid until the check moves on; copy it to keep it.
    static const char* CurrentContentItemPath();

private:
    // The checks over one data set: the document itself or a content item of it, at `depth`
    // levels below the document.
    int content_module(const Dicom_Msg& doc, SR_Kinds kind, int depth) const;
    int relationship_rules(const Dicom_Msg& doc, SR_Kinds kind, int depth) const;
    int content_macro(const Dicom_Msg& doc, SR_Kinds kind) const;
    int numeric_measurement(const Dicom_Msg& doc) const;
    int code_macro(const Dicom_Msg& doc) const;
    int composite_reference(const Dicom_Msg& doc) const;
    int spatial_coordinates(const Dicom_Msg& doc) const;
    int document(SR_Kinds kind) const;
};
