// sr_bench: IOD_StructuredReporting::IsComprehensiveSRValid over generated comprehensive SR
// documents of 1,000 and 10,000 content items nested 20 levels deep.
//
//   sr_bench [Google Benchmark flags]
//
// The document: a chain of 19 CONTAINER items (levels 1 to 19), each holding its share of leaf
// items (levels 2 to 20) that cycle through TEXT, PNAME, UIDREF, DATETIME, SCOORD (a POINT) and
// IMAGE (a referenced SOP), all valid, so the check walks the whole tree. It is encoded and
// parsed again (copy 0), as a received document would be. Counters: allocations per call and per
// content item (alloc_counter.h); the table at the end gives the time per item and the ratio of
// the two sizes (linear: about 10).
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_DA.h>
#include <Dicom/Dicom_DS.h>
#include <Dicom/Dicom_DT.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_IS.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_TM.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UT.h>
#include <IOD/IOD_StructuredReporting.h>
#include <KvlLog/Kvl_LogFile.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "alloc_counter.h"

namespace {

using D = Dicom_Dictionary;
constexpr int kLevels = 20;

Dicom_Msg* With(Dicom_Msg* m, const Dicom_Tag& tag, Dicom_Type&& value) {
    m->Set(tag, &value);
    return m;
}
Dicom_SQ* Sequence(Dicom_Msg* m, const Dicom_Tag& tag) {
    auto* sq = new Dicom_SQ;
    m->SetWithoutDataCopy(tag, sq);
    return static_cast<Dicom_SQ*>(m->Find(tag)->GetChangeableData());
}
Dicom_Msg* Item(const char* relationship, const char* type) {
    Dicom_Msg* m = With(With(new Dicom_Msg, D::RELATIONSHIP_TYPE, Dicom_CS(relationship, nullptr)),
                        D::VALUE_TYPE, Dicom_CS(type, nullptr));
    Sequence(m, D::CONCEPT_NAME_CODE_SEQUENCE);
    return m;
}
Dicom_Msg* Leaf(int i) {
    switch (i % 6) {
        case 0:
            return With(Item("CONTAINS", "TEXT"), D::TEXT_VALUE,
                        Dicom_UT("Finding text of some length", nullptr));
        case 1:
            return With(Item("HAS OBS CONTEXT", "PNAME"), D::PERSON_NAME, Dicom_PN("Doe^John", nullptr));
        case 2:
            return With(Item("HAS PROPERTIES", "UIDREF"), D::UID, Dicom_UI("1.2.840.99.1.2.3", nullptr));
        case 3:
            return With(Item("HAS PROPERTIES", "DATETIME"), D::DATE_TIME,
                        Dicom_DT("20240102101500", nullptr));
        case 4:
            return With(With(Item("CONTAINS", "SCOORD"), D::GRAPHIC_TYPE, Dicom_CS("POINT", nullptr)),
                        D::GRAPHIC_DATA, Dicom_FL(std::vector<float>{12.5f, 40.25f}));
        default: {
            Dicom_Msg* image = Item("CONTAINS", "IMAGE");
            Dicom_Msg* ref =
                With(new Dicom_Msg, D::REFERENCED_SOP_CLASS_UID, Dicom_UI("1.2.840.10008.5.1.4.1.1.2"));
            With(ref, D::REFERENCED_SOP_INSTANCE_UID, Dicom_UI("1.2.840.99.7.7", nullptr));
            Sequence(image, D::REFERENCED_SOP_SEQUENCE)->AddItem(ref);
            return image;
        }
    }
}

// The encoded document of `items` content items.
std::vector<unsigned char> MakeDocument(int items) {
    Dicom_Msg sr;
    With(&sr, D::SOP_CLASS_UID, Dicom_UI("1.2.840.10008.5.1.4.1.1.88.33", nullptr));
    With(&sr, D::SOP_INSTANCE_UID, Dicom_UI("1.2.840.99.9", nullptr));
    With(&sr, D::PATIENT_NAME, Dicom_PN("Doe^Jane", nullptr));
    With(&sr, D::PATIENT_ID, Dicom_LO("P-1", nullptr));
    With(&sr, D::PATIENT_BIRTH_DATE, Dicom_DA("19700101", nullptr));
    With(&sr, D::PATIENT_SEX, Dicom_CS("F", nullptr));
    With(&sr, D::STUDY_INSTANCE_UID, Dicom_UI("1.2.840.99.1", nullptr));
    With(&sr, D::STUDY_DATE, Dicom_DA("20240102", nullptr));
    With(&sr, D::STUDY_TIME, Dicom_TM("101500", nullptr));
    With(&sr, D::REFERRING_PHYSICIAN_NAME, Dicom_PN("", nullptr));
    With(&sr, D::STUDY_ID, Dicom_SH("S1", nullptr));
    With(&sr, D::ACCESSION_NUMBER, Dicom_SH("", nullptr));
    With(&sr, D::MODALITY, Dicom_CS("SR", nullptr));
    With(&sr, D::SERIES_INSTANCE_UID, Dicom_UI("1.2.840.99.2", nullptr));
    With(&sr, D::SERIES_NUMBER, Dicom_IS(1));
    Sequence(&sr, D::REFERENCED_PERFORMED_PROCEDURE_STEP_SEQUENCE);
    With(&sr, D::MANUFACTURER, Dicom_LO("ACME", nullptr));
    With(&sr, D::INSTANCE_NUMBER, Dicom_IS(1));
    With(&sr, D::COMPLETION_FLAG, Dicom_CS("COMPLETE", nullptr));
    With(&sr, D::VERIFICATION_FLAG, Dicom_CS("UNVERIFIED", nullptr));
    With(&sr, D::CONTENT_DATE, Dicom_DA("20240102", nullptr));
    With(&sr, D::CONTENT_TIME, Dicom_TM("101500", nullptr));
    With(&sr, D::OBSERVATION_DATE_TIME, Dicom_DT("20240102101500", nullptr));
    With(&sr, D::VALUE_TYPE, Dicom_CS("CONTAINER", nullptr));
    // 19 containers, one per level; the leaves shared out among them.
    const int containers = kLevels - 1;
    const int leaves = items - containers;
    Dicom_Msg* at = &sr;
    int made = 0;
    for (int level = 0; level < containers; ++level) {
        Dicom_SQ* content = Sequence(at, D::CONTENT_SEQUENCE);
        const int share = leaves * (level + 1) / containers - leaves * level / containers;
        for (int i = 0; i < share; ++i) content->AddItem(Leaf(made++));
        Dicom_Msg* next = Item("CONTAINS", "CONTAINER");
        content->AddItem(next);
        at = next;
    }
    std::vector<unsigned char> out;
    sr.Encode(out);
    return out;
}

struct Document {
    std::vector<unsigned char> bytes;
    std::unique_ptr<IOD_StructuredReporting> sr;
};

void Validate(benchmark::State& state, int items) {
    Document doc;
    doc.bytes = MakeDocument(items);
    int status = -1;
    doc.sr = std::make_unique<IOD_StructuredReporting>(
        doc.bytes.data(), static_cast<unsigned int>(doc.bytes.size()), 0, &status);
    if (status != 0 || doc.sr->IsComprehensiveSRValid() != 1) {
        state.SkipWithError("the generated document does not parse or is not valid");
        return;
    }
    long allocs = 0;
    for (auto _ : state) {
        AllocCountScope count;
        benchmark::DoNotOptimize(doc.sr->IsComprehensiveSRValid());
        allocs += count.Count();
    }
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
    state.counters["allocs_per_item"] =
        benchmark::Counter(static_cast<double>(allocs) / items, benchmark::Counter::kAvgIterations);
    state.counters["items"] = items;
}

class Collector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            Row& row = rows[run.run_name.str()];
            row.ns = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
            row.allocs = run.counters.at("allocs_per_item").value;
            row.items = run.counters.at("items").value;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    struct Row {
        double ns = 0, allocs = 0, items = 0;
    };
    std::map<std::string, Row> rows;
};

}  // namespace

int main(int argc, char** argv) {
    static char repetitions[] = "--benchmark_repetitions=5";
    static char aggregates[] = "--benchmark_report_aggregates_only=true";
    std::vector<char*> args{argv[0], repetitions, aggregates};
    for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
    int n = static_cast<int>(args.size());
    benchmark::Initialize(&n, args.data());
    if (benchmark::ReportUnrecognizedArguments(n, args.data())) return 1;
    KvlGLog.SetLevel(2);
    benchmark::RegisterBenchmark("sr_validate/1000_items", Validate, 1000)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("sr_validate/10000_items", Validate, 10000)->Unit(benchmark::kMicrosecond);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::Shutdown();

    std::printf(
        "\n| items | IsComprehensiveSRValid | per item | allocations per item |\n|---|---|---|---|\n");
    for (const auto& [name, row] : collector.rows) {
        std::printf("| %.0f | %.1f us | %.1f ns | %.2f |\n", row.items, row.ns / 1e3, row.ns / row.items,
                    row.allocs);
    }
    const auto small = collector.rows.find("sr_validate/1000_items");
    const auto large = collector.rows.find("sr_validate/10000_items");
    if (small != collector.rows.end() && large != collector.rows.end() && small->second.ns > 0) {
        std::printf("time ratio 10000 / 1000 items: %.2f (linear: 10)\n",
                    large->second.ns / small->second.ns);
    }
    return 0;
}
