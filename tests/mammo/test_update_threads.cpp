// Four threads make the first UpdateMammoIODUsingTagsParsing call of the process at once: the
// rules are loaded exactly once, every thread runs all of them, and (under ThreadSanitizer) no
// thread reads the rule vector while it is being filled. This file must stay the only test of
// its executable, so that the call really is the first.
#include <IOD/IOD_TomosynthesisHelper.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <barrier>
#include <fstream>
#include <thread>

#include "MammoTestSupport.h"

namespace {

TEST(MammoUpdateThreads, FourThreadsMakeTheFirstCallAtOnce) {
    const std::string file = ::testing::TempDir() + "mammo_threads_" + std::to_string(::getpid()) + ".json";
    std::ofstream(file, std::ios::trunc) << R"j({"lumivest": {"system": {"applications": {"carbonell": {
        "tag_parsing": {
            "marker": {"tag": "KOVEL_IS_MG", "source": "Modality", "pattern": "^MG$", "value": "Y", "default": "N"},
            "orientation": {"tag": "PATIENT_ORIENTATION", "source": "PatientOrientation",
                            "pattern": "^(\\w)\\\\(\\w+)$", "value": "$2\\$1"}
        }}}}}})j";
    ::setenv("IOD_CONFIG", file.c_str(), 1);

    constexpr int kThreads = 4;
    constexpr int kRounds = 50;
    const char* const orientations[kThreads] = {"P\\L", "A\\R", "P\\FL", "A\\HR"};
    const char* const expected[kThreads] = {"L\\P", "R\\A", "FL\\P", "HR\\A"};
    std::vector<IOD_Msg> messages(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        Put<Dicom_CS>(messages[t], Dicom_Dictionary::MODALITY, t % 2 == 0 ? "MG" : "CR");
        Put<Dicom_CS>(messages[t], Dicom_Dictionary::PATIENT_ORIENTATION, orientations[t]);
    }

    MammoLog log;
    std::barrier start(kThreads);
    std::vector<int> results(kThreads * kRounds, -1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                results[t * kRounds + round] =
                    IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&messages[t]);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::remove(file.c_str());

    for (int result : results) EXPECT_EQ(result, 0);
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(messages[t].Get(Dicom_Dictionary::KOVEL_IS_MG)->ToString(), t % 2 == 0 ? "Y" : "N");
        EXPECT_EQ(messages[t].Get(Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION)->ToString(), expected[t]);
    }
    const std::string text = log.Text();
    size_t loads = 0, added = 0;
    for (size_t at = 0; (at = text.find("Load parsing subtree", at)) != std::string::npos; ++at) ++loads;
    for (size_t at = 0; (at = text.find("Added tag:", at)) != std::string::npos; ++at) ++added;
    EXPECT_EQ(loads, 1u);
    EXPECT_EQ(added, 2u * kThreads * kRounds);
}

}  // namespace
