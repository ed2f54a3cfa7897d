// Several threads use the DICOM layer at once, each on messages of its own, while they share
// what is process-wide: the dictionary, the implementor registry, the character sets, the UID
// generator and the logger (with a sink attached). Every thread's results must equal those of
// a single-threaded run; under the tsan preset the same run also proves the absence of races.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDGenerator.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int kIterations = 48;

// An input and what a single thread made of it.
struct Reference {
    std::string name;
    std::vector<unsigned char> bytes;
    int status = -1;
    int elements = 0;
    int encodeRc = -1;
    std::vector<unsigned char> encoded;  // in the syntax as read
    Dicom_DumpLen dumpLen;
    std::vector<std::pair<Dicom_Tag, std::string>> values;  // public attributes and their text
    std::vector<std::pair<Dicom_Tag, Dicom_VR>> dictionaryVRs;
};

std::vector<Reference> LoadReferences() {
    const std::string root = IOD_THREADS_PYDICOM_DATA;
    const char* const files[] = {
        "test_files/CT_small.dcm",
        "test_files/MR_small.dcm",
        "test_files/MR_small_bigendian.dcm",
        "test_files/MR_small_implicit.dcm",
        "test_files/image_dfl.dcm",
        "test_files/nested_priv_SQ.dcm",
        "test_files/rtplan.dcm",
        "test_files/MR_truncated.dcm",
        "test_files/JPEG2000.dcm",
        "charset_files/chrJapMulti.dcm",
        "charset_files/chrSQEncoding.dcm",
        "charset_files/chrRuss.dcm",
        "charset_files/chrGreek.dcm",
    };
    std::vector<Reference> refs;
    for (const char* f : files) {
        Reference r;
        r.name = f;
        std::ifstream in(root + "/" + f, std::ios::binary);
        if (!in) continue;
        r.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        Dicom_Msg msg(r.bytes.data(), r.bytes.size(), 1, &r.status);
        r.elements = msg.GetNElements();
        if (r.status == 0) {
            r.encodeRc = msg.Encode(r.encoded);
            r.dumpLen = msg.GetDumpLen();
        }
        for (int i = 0; i < msg.GetNElements(); ++i) {
            const Dicom_ME* me = msg.GetElement(i);
            const Dicom_Tag& tag = me->GetTag();
            if (tag.IsPrivate() || me->GetData() == nullptr || me->GetVR() == Dicom_VR::SQ) continue;
            r.values.emplace_back(tag, me->GetData()->ToString());
            r.dictionaryVRs.emplace_back(tag, Dicom_Dictionary::FindVR(tag));
        }
        refs.push_back(std::move(r));
    }
    return refs;
}

// Log records of the workers: file, function, line and level fixed; the text names the thread
// and the iteration, so that a record mixed from two threads or delivered twice shows up.
constexpr const char* kLogFile = "tests/threads/test_threads";
constexpr const char* kLogFunction = "ThreadWorker";
constexpr int kLogLine = 4242;
constexpr int kLogLevel = 3;
constexpr int kLogCategory = 19;

class LogCapture {
public:
    LogCapture() : m_seen(kThreads * kIterations) {
        m_savedLevel = KvlGLog.GetLevel();
        KvlGLog.SetLevel(7);  // the layer's own traces travel through the sinks as well
        KvlGLog.SetDefaultSink(false);
        m_handle = KvlGLog.AddSink([this](const Kvl_LogRecord& r) { Receive(r); });
    }
    ~LogCapture() {
        KvlGLog.RemoveSink(m_handle);
        KvlGLog.SetDefaultSink(true);
        KvlGLog.SetLevel(m_savedLevel);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    int Received() const { return m_received.load(); }
    int Malformed() const { return m_malformed.load(); }
    int Duplicates() const { return m_duplicates.load(); }

private:
    void Receive(const Kvl_LogRecord& r) {
        if (r.function != kLogFunction) return;
        int t = -1;
        int i = -1;
        char tail = 0;
        const bool ok = r.file == kLogFile && r.line == kLogLine && r.level == kLogLevel &&
                        r.category == kLogCategory &&
                        std::sscanf(r.text.c_str(), "worker %d iteration %d%c", &t, &i, &tail) == 2 &&
                        t >= 0 && t < kThreads && i >= 0 && i < kIterations &&
                        r.text == "worker " + std::to_string(t) + " iteration " + std::to_string(i);
        if (!ok) {
            ++m_malformed;
            return;
        }
        if (m_seen[static_cast<size_t>(t * kIterations + i)].exchange(true)) ++m_duplicates;
        ++m_received;
    }

    int m_savedLevel = 4;
    int m_handle = 0;
    std::vector<std::atomic<bool>> m_seen;
    std::atomic<int> m_received{0};
    std::atomic<int> m_malformed{0};
    std::atomic<int> m_duplicates{0};
};

// Creator strings that every thread registers, each thread in its own order.
std::string SharedCreator(int k) { return "THREADS SHARED CREATOR " + std::to_string(k); }
constexpr int kSharedCreators = 24;
constexpr unsigned short kUnset = Dicom_Tag::NO_IMPLEMENTOR;

struct WorkerResult {
    std::vector<std::string> errors;
    std::vector<unsigned short> sharedIndex = std::vector<unsigned short>(kSharedCreators, kUnset);
    std::vector<std::string> uids;
};

void Worker(int t, const std::vector<Reference>& refs, Dicom_UIDGenerator& generator, WorkerResult& out) {
    auto error = [&](const Reference& r, int i, const std::string& what) {
        out.errors.push_back("thread " + std::to_string(t) + " iteration " + std::to_string(i) + " " +
                             r.name + ": " + what);
    };
    for (int i = 0; i < kIterations; ++i) {
        const Reference& r = refs[static_cast<size_t>(t * 5 + i) % refs.size()];
        const int copy = (t + i) & 1;
        int status = -1;
        // copy 0: all threads read the same caller buffer at once; it must stay untouched.
        auto msg = std::make_unique<Dicom_Msg>(const_cast<unsigned char*>(r.bytes.data()), r.bytes.size(),
                                               copy, &status);
        if (status != r.status) error(r, i, "status " + std::to_string(status));
        if (msg->GetNElements() != r.elements)
            error(r, i, "element count " + std::to_string(msg->GetNElements()));

        for (const auto& [tag, text] : r.values) {
            const Dicom_Type* v = msg->Get(tag);
            if (v == nullptr || v->ToString() != text) error(r, i, "value of " + tag.ToString());
        }
        for (const auto& [tag, vr] : r.dictionaryVRs) {
            if (Dicom_Dictionary::FindVR(tag) != vr) error(r, i, "dictionary VR of " + tag.ToString());
        }
        if (Dicom_Tag::Construct_Tag("PatientName") != Dicom_Tag(0x0010, 0x0010))
            error(r, i, "Construct_Tag(PatientName)");

        if (status == 0) {
            std::vector<unsigned char> encoded;
            const int rc = msg->Encode(encoded);
            if (rc != r.encodeRc || (rc == 0 && encoded != r.encoded)) error(r, i, "encoding differs");
            if (!(msg->GetDumpLen() == r.dumpLen)) error(r, i, "GetDumpLen differs");
            std::unique_ptr<Dicom_Msg> clone(msg->Clone());
            std::vector<unsigned char> cloneEncoded;
            const int crc = clone ? clone->Encode(cloneEncoded) : -2;
            if (crc != r.encodeRc || (crc == 0 && cloneEncoded != r.encoded))
                error(r, i, "clone encodes differently");
        }

        // Registry: shared creators in a per-thread order, plus one creator of this thread's own.
        const int k = (i * (t + 1) + t) % kSharedCreators;
        const std::string shared = SharedCreator(k);
        const unsigned short index = ImplementorIDVector::Index(shared);
        if (out.sharedIndex[static_cast<size_t>(k)] != kUnset &&
            out.sharedIndex[static_cast<size_t>(k)] != index)
            error(r, i, "creator index changed");
        out.sharedIndex[static_cast<size_t>(k)] = index;
        if (ImplementorIDVector::Name(index) != shared) error(r, i, "creator name of index");
        const std::string own = "THREADS OWN CREATOR " + std::to_string(t) + "." + std::to_string(i % 6);
        if (ImplementorIDVector::Name(ImplementorIDVector::Index(own)) != own) error(r, i, "own creator");

        for (int u = 0; u < 4; ++u) out.uids.push_back(generator.GenerateString());

        if (KvlGLog.StoreParams(kLogFile, kLogFunction, kLogLine, kLogLevel, kLogCategory, 1))
            KvlGLog.Log("worker %d iteration %d\n", t, i);
    }
}

TEST(Threads, ParseReadEncodeCloneLogAtOnceGiveSingleThreadResults) {
    const std::vector<Reference> refs = LoadReferences();
    ASSERT_GE(refs.size(), 8u) << "pydicom's test files (python3-pydicom) are needed";
    ASSERT_EQ(refs[0].status, 0) << "CT_small.dcm must parse";

    Dicom_UIDGenerator generator;  // one generator shared by all threads
    std::vector<WorkerResult> results(kThreads);
    {
        LogCapture capture;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back(Worker, t, std::cref(refs), std::ref(generator),
                                 std::ref(results[static_cast<size_t>(t)]));
        for (auto& th : threads) th.join();

        EXPECT_EQ(capture.Malformed(), 0) << "log records arrived mixed or altered";
        EXPECT_EQ(capture.Duplicates(), 0) << "log records delivered twice";
        EXPECT_EQ(capture.Received(), kThreads * kIterations);
    }

    for (const WorkerResult& r : results) {
        for (const std::string& e : r.errors) ADD_FAILURE() << e;
    }
    // Every thread got the same index for the same creator, and different creators differ.
    std::set<unsigned short> distinct;
    for (int k = 0; k < kSharedCreators; ++k) {
        unsigned short agreed = kUnset;
        for (const WorkerResult& r : results) {
            const unsigned short idx = r.sharedIndex[static_cast<size_t>(k)];
            if (idx == kUnset) continue;  // this thread did not register k
            if (agreed == kUnset) agreed = idx;
            EXPECT_EQ(idx, agreed) << SharedCreator(k);
        }
        if (agreed != kUnset) {
            EXPECT_TRUE(distinct.insert(agreed).second) << SharedCreator(k) << " shares an index";
        }
    }
    // UIDs from one generator used by all threads at once are all different and well formed.
    std::set<std::string> uids;
    size_t total = 0;
    for (const WorkerResult& r : results) {
        for (const std::string& u : r.uids) {
            ++total;
            uids.insert(u);
            EXPECT_TRUE(u.rfind("2.25.", 0) == 0 && u.size() <= 64 &&
                        u.find_first_not_of("0123456789.") == std::string::npos)
                << u;
        }
    }
    EXPECT_EQ(uids.size(), total);
}

}  // namespace
