// The host program: uses the library the way a host does, and says so when all of it worked.
#include <kq/converter/hex.h>
#include <kq/converter/md5.h>
#include <kq/singleton.h>
#include <kq/thread/spin_mutex.h>
#include <kq/thread/thread_names.h>
#include <kq/version.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace {

struct Service {};

bool VersionIsThatOfThePackage() {
    return std::strcmp(kq::Version().text, KQ_PACKAGE_VERSION) == 0;
}

bool MutexLocks() {
    kq::thread::spin_mutex mutex;
    const std::lock_guard guard(mutex);
    return !mutex.try_lock();
}

bool DigestTravelsThroughHex() {
    MD5HASH digest;
    HashMD5(digest, "abc", 3);
    wchar_t text[33];
    HashMD5ToString(text, "abc", 3);
    MD5HASH readBack;
    return Hex2Mem(readBack.bytes, text, 32) == readBack.bytes + 16 &&
           std::memcmp(digest.bytes, readBack.bytes, 16) == 0 &&
           std::wcscmp(text, L"900150983cd24fb0d6963f7d28e17f72") == 0;
}

bool ObjectsOfTheLibraryWork() {
    const auto names = kq::thread::ThreadNameMap::Create();
    names->SetCurrentName("host");
    return names->GetCurrentName() == "host";
}

bool EmptySingletonThrows() {
    const kq::Singleton<Service, std::shared_ptr> service;
    try {
        service.Get();
    } catch (const std::runtime_error& error) {
        return error.what() ==
               std::string("Singleton instance of ") + typeid(Service).name() + " does not exists!";
    }
    return false;
}

} // namespace

int main() {
    const struct {
        const char* what;
        bool (*check)();
    } checks[] = {{"the version is that of the package", VersionIsThatOfThePackage},
                  {"a mutex locks", MutexLocks},
                  {"a digest travels through hex", DigestTravelsThroughHex},
                  {"objects of the library work", ObjectsOfTheLibraryWork},
                  {"an empty singleton throws", EmptySingletonThrows}};
    int failures = 0;
    for (const auto& [what, check] : checks) {
        const bool passed = check();
        std::printf("%s: %s\n", passed ? "ok" : "FAILED", what);
        failures += passed ? 0 : 1;
    }
    if (failures == 0)
        std::printf("host: all is well\n");
    return failures;
}
