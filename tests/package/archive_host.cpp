// A host of the archive: uses what crosses the boundary of the DLL, and says so when all of it
// worked.
#include <kq/kq.h>

#include <cstdio>
#include <stdexcept>
#include <string>

using namespace kq::concurrency;

int main() {
    kq::Session session;

    std::string text;
    const CJobTicket first = jobQueue->Queue([&] { text = "kq "; });
    const CJobTicket second =
        jobQueue->Queue([&] { text += kq::Version().text; }, dependsOn(first));
    second.Wait();

    // An exception of the host's goes through the library, and one of the library's comes out.
    bool hostsException = false;
    try {
        jobQueue->Queue([] { throw std::domain_error("the host's"); }).Wait();
    } catch (const std::domain_error&) {
        hostsException = true;
    }
    bool librarysException = false;
    try {
        kq::type::Guid(L"no GUID");
    } catch (const std::logic_error&) {
        librarysException = true;
    }

    kq::error::SetDumpFilePath(boost::filesystem::path(L"host.dmp")); // a type of Boost's
    const bool isDumpPathKept = kq::error::GetDumpFilePath()->wstring() == L"host.dmp";

    const std::string version = "kq " + std::to_string(KQ_VERSION_MAJOR) + "." +
                                std::to_string(KQ_VERSION_MINOR) + "." +
                                std::to_string(KQ_VERSION_PATCH);
    if (text == version && hostsException && librarysException && isDumpPathKept)
        std::printf("host: all is well\n");
    else
        std::printf("host: %s %d %d %d\n", text.c_str(), hostsException, librarysException,
                    isDumpPathKept);
    return 0;
}
