// The process-wide configuration repository, loaded once from the file named by IOD_CONFIG.
#include <CFG/CFG_Factory.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cstdlib>

namespace {

constexpr const char* kLogFile = "platform/config/src/CFG_Factory";
constexpr int kLogCategory = 21;  // the configuration library

CFG_RepositoryServices* LoadFromEnvironment() {
    const char* file = std::getenv("IOD_CONFIG");
    if (file == nullptr || *file == '\0') return nullptr;
    RWCString error;
    std::unique_ptr<CFG_RepositoryServices> services = CFG_RepositoryServices::Load(file, &error);
    if (!services) {
        if (KvlGLog.StoreParams(kLogFile, "CFG_Factory::GetRepositoryServices", __LINE__, 3, kLogCategory, 1))
            KvlGLog.Log("Configuration repository '%s' is not used: %s\n", file, error.c_str());
        return nullptr;
    }
    if (KvlGLog.StoreParams(kLogFile, "CFG_Factory::GetRepositoryServices", __LINE__, 7, kLogCategory, 1))
        KvlGLog.Log("Configuration repository '%s' loaded\n", file);
    // Kept until the process ends: callers hold pointers to its subtrees for as long.
    return services.release();
}

}  // namespace

CFG_RepositoryServices* CFG_Factory::GetRepositoryServices() {
    static CFG_RepositoryServices* const services = LoadFromEnvironment();
    return services;
}
