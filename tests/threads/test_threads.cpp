// Several threads parse, read, encode and clone messages of their own while they share the
// dictionary, the implementor registry, the character sets and the logger: every result must
// equal the single-threaded one (and under tsan the run must be race-free).
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>

#include <algorithm>
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
constexpr int kCreators = 24;

using Bytes = std::vector<unsigned char>;

// What one message gives: status, values (decoded through the character sets), dictionary
// VRs, encoding, its length and a clone's encoding.
std::string Results(Dicom_Msg& msg, int status) {
    std::string out = std::to_string(status) + " " + std::to_string(msg.GetNElements()) + "\n";
    for (int i = 0; i < msg.GetNElements(); ++i) {
        const Dicom_ME* me = msg.GetElement(i);
        if (me->GetTag().IsPrivate() || me->GetData() == nullptr || me->GetVR() == Dicom_VR::SQ) continue;
        out += me->GetTag().ToString() + " " +
               std::to_string(static_cast<int>(Dicom_Dictionary::FindVR(me->GetTag()))) + " " +
               me->GetData()->ToString() + "\n";
    }
    if (status != 0) return out;
    Bytes encoded, cloned;
    const int rc = msg.Encode(encoded);
    std::unique_ptr<Dicom_Msg> clone(msg.Clone());
    const int cloneRc = clone ? clone->Encode(cloned) : -2;
    return out + std::to_string(rc) + " " + std::to_string(cloneRc) + " " +
           std::to_string(msg.GetDumpLen().GetDumpLen()) + (msg.GetDumpLen() ? "" : "!") + " " +
           std::string(encoded.begin(), encoded.end()) + (cloned == encoded ? "" : " clone differs");
}

struct Input {
    std::string name;
    Bytes bytes;
    std::string results;  // of a single-threaded run
};

std::vector<Input> LoadInputs() {
    std::vector<Input> inputs;
    for (const char* f :
         {"test_files/CT_small.dcm", "test_files/MR_small_bigendian.dcm", "test_files/MR_small_implicit.dcm",
          "test_files/image_dfl.dcm", "test_files/nested_priv_SQ.dcm", "test_files/rtplan.dcm",
          "test_files/MR_truncated.dcm", "test_files/JPEG2000.dcm", "charset_files/chrJapMulti.dcm",
          "charset_files/chrSQEncoding.dcm", "charset_files/chrRuss.dcm"}) {
        std::ifstream in(std::string(IOD_THREADS_PYDICOM_DATA) + "/" + f, std::ios::binary);
        if (!in) continue;
        Input input{f, Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()), ""};
        int status = -1;
        Dicom_Msg msg(input.bytes.data(), input.bytes.size(), 1, &status);
        input.results = Results(msg, status);
        inputs.push_back(std::move(input));
    }
    return inputs;
}

std::string Creator(int k) { return "THREADS SHARED CREATOR " + std::to_string(k); }

struct Worker {
    std::vector<std::string> errors;
    std::vector<unsigned short> creatorIndex =
        std::vector<unsigned short>(kCreators, Dicom_Tag::NO_IMPLEMENTOR);

    void Run(int t, const std::vector<Input>& inputs) {
        for (int i = 0; i < kIterations; ++i) {
            const Input& in = inputs[static_cast<size_t>(t * 5 + i) % inputs.size()];
            const std::string where = std::to_string(t) + "/" + std::to_string(i) + " " + in.name + ": ";
            int status = -1;
            // Without a copy (odd rounds) all threads read the same caller buffer at once.
            Dicom_Msg msg(const_cast<unsigned char*>(in.bytes.data()), in.bytes.size(), (t + i) & 1, &status);
            if (Results(msg, status) != in.results) errors.push_back(where + "results differ");
            // Shared creators in an order of this thread's own, and one creator of its own.
            const int k = (i * (t + 1) + t) % kCreators;
            const unsigned short index = ImplementorIDVector::Index(Creator(k));
            if (creatorIndex[k] != Dicom_Tag::NO_IMPLEMENTOR && creatorIndex[k] != index)
                errors.push_back(where + "creator index changed");
            creatorIndex[k] = index;
            const std::string own = "THREADS OWN CREATOR " + std::to_string(t) + "." + std::to_string(i % 6);
            if (ImplementorIDVector::Name(ImplementorIDVector::Index(own)) != own ||
                ImplementorIDVector::Name(index) != Creator(k))
                errors.push_back(where + "creator names");
            if (KvlGLog.StoreParams("tests/threads/test_threads", "ThreadWorker", 4242, 3, 19, 1))
                KvlGLog.Log("worker %d iteration %d\n", t, i);
        }
    }
};

TEST(Threads, ParseReadEncodeCloneLogAtOnceGiveSingleThreadResults) {
    const std::vector<Input> inputs = LoadInputs();
    ASSERT_GE(inputs.size(), 8u) << "pydicom's test files (python3-pydicom) are needed";
    std::mutex mutex;
    std::vector<std::string> records;
    const int level = KvlGLog.GetLevel();
    KvlGLog.SetLevel(7);  // the layer's own traces travel through the sinks as well
    KvlGLog.SetDefaultSink(false);
    const int sink = KvlGLog.AddSink([&](const Kvl_LogRecord& r) {
        std::lock_guard<std::mutex> lock(mutex);
        if (r.function == "ThreadWorker")
            records.push_back(r.file + ":" + std::to_string(r.line) + " " + r.text);
    });
    std::vector<Worker> workers(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back([&, t] { workers[t].Run(t, inputs); });
    for (auto& th : threads) th.join();
    KvlGLog.RemoveSink(sink);
    KvlGLog.SetDefaultSink(true);
    KvlGLog.SetLevel(level);

    std::vector<std::string> expected;
    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kIterations; ++i)
            expected.push_back("tests/threads/test_threads:4242 worker " + std::to_string(t) + " iteration " +
                               std::to_string(i));
    std::sort(expected.begin(), expected.end());
    std::sort(records.begin(), records.end());
    EXPECT_EQ(records, expected) << "log records lost, mixed or delivered twice";
    std::vector<std::set<unsigned short>> indices(kCreators);
    for (const Worker& w : workers) {
        for (const std::string& e : w.errors) ADD_FAILURE() << e;
        for (int k = 0; k < kCreators; ++k)
            if (w.creatorIndex[k] != Dicom_Tag::NO_IMPLEMENTOR) indices[k].insert(w.creatorIndex[k]);
    }
    // Every thread got the same index for one creator, and different creators differ.
    std::set<unsigned short> distinct;
    for (int k = 0; k < kCreators; ++k) {
        EXPECT_LE(indices[k].size(), 1u) << Creator(k);
        if (!indices[k].empty()) {
            EXPECT_TRUE(distinct.insert(*indices[k].begin()).second) << Creator(k);
        }
    }
}

}  // namespace
