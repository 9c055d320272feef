#include "support/minidump.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

using kq_test::Minidump;

namespace {

// Builds the bytes of a dump from records.
class Bytes {
public:
    template <class Record>
    std::uint32_t Add(const Record& record) {
        const std::size_t offset = bytes.size();
        const auto* const begin = reinterpret_cast<const char*>(&record);
        bytes.insert(bytes.end(), begin, begin + sizeof(Record));
        return static_cast<std::uint32_t>(offset);
    }

    std::vector<char> bytes;
};

MINIDUMP_HEADER Header(std::uint32_t streams) {
    MINIDUMP_HEADER header{};
    header.Signature = 0x504d444d;
    header.Version = 0x1234a793; // the upper half is the writer's own
    header.NumberOfStreams = streams;
    header.StreamDirectoryRva = sizeof header;
    return header;
}

MINIDUMP_DIRECTORY Stream(MINIDUMP_STREAM_TYPE type, std::size_t offset, std::size_t size) {
    MINIDUMP_DIRECTORY stream{};
    stream.StreamType = static_cast<std::uint32_t>(type);
    stream.Location.Rva = static_cast<std::uint32_t>(offset);
    stream.Location.DataSize = static_cast<std::uint32_t>(size);
    return stream;
}

// One thread, one module and an exception.
std::vector<char> SmallDump() {
    constexpr std::size_t streams = 3;
    constexpr std::size_t list = sizeof(MINIDUMP_HEADER) + streams * sizeof(MINIDUMP_DIRECTORY);
    constexpr std::size_t exception = list + 4 + sizeof(MINIDUMP_THREAD);
    constexpr std::size_t registers = exception + sizeof(MINIDUMP_EXCEPTION_STREAM);
    constexpr std::size_t modules = registers + sizeof(CONTEXT);
    constexpr std::size_t name = modules + 4 + sizeof(MINIDUMP_MODULE);
    Bytes dump;
    dump.Add(Header(streams));
    dump.Add(Stream(ThreadListStream, list, 4 + sizeof(MINIDUMP_THREAD)));
    dump.Add(Stream(ExceptionStream, exception, sizeof(MINIDUMP_EXCEPTION_STREAM)));
    dump.Add(Stream(ModuleListStream, modules, 4 + sizeof(MINIDUMP_MODULE)));
    MINIDUMP_THREAD thread{};
    thread.ThreadId = 77;
    dump.Add(std::uint32_t{1});
    dump.Add(thread);
    MINIDUMP_EXCEPTION_STREAM record{};
    record.ThreadId = 77;
    record.ExceptionRecord.ExceptionCode = 0xC0000094;
    record.ThreadContext.Rva = registers;
    record.ThreadContext.DataSize = sizeof(CONTEXT);
    dump.Add(record);
    CONTEXT context{};
    context.Rip = 0x140001234;
    dump.Add(context);
    MINIDUMP_MODULE module{};
    module.BaseOfImage = 0x140000000;
    module.SizeOfImage = 0x2000;
    module.ModuleNameRva = name;
    dump.Add(std::uint32_t{1});
    dump.Add(module);
    dump.Add(std::uint32_t{2 * 8});
    for (const wchar_t character : {L'C', L':', L'\\', L'a', L'.', L'e', L'x', L'e'})
        dump.Add(character);
    return dump.bytes;
}

std::string Refusal(std::vector<char> bytes) {
    return ThrownText<std::runtime_error>([&] {
        const Minidump dump(bytes);
        dump.Threads();
        dump.ExceptionContext();
        dump.Modules();
    });
}

TEST(MinidumpParser, ReadsThreadsModulesAndTheException) {
    const Minidump dump(SmallDump());
    EXPECT_EQ(dump.ThreadIds(), std::vector<std::uint32_t>{77});
    EXPECT_EQ(dump.Exception().ThreadId, 77u);
    EXPECT_EQ(dump.Exception().ExceptionRecord.ExceptionCode, 0xC0000094u);
    EXPECT_EQ(dump.ExceptionContext().Rip, 0x140001234u);
    ASSERT_EQ(dump.Modules().size(), 1u);
    EXPECT_EQ(dump.Modules()[0].name, L"C:\\a.exe");
    EXPECT_EQ(dump.ModuleAt(0x140001234), L"a.exe");
    EXPECT_EQ(dump.ModuleAt(0x13FFFFFFF), L"");
    EXPECT_EQ(dump.ModuleAt(0x140002000), L"");
    EXPECT_TRUE(dump.Has(ThreadListStream));
    EXPECT_FALSE(dump.Has(SystemInfoStream));
}

TEST(MinidumpParser, RefusesADumpThatWasCutOffAnywhere) {
    const std::vector<char> whole = SmallDump();
    for (std::size_t size = 0; size != whole.size(); ++size)
        EXPECT_EQ(Refusal({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)})
                      .find("the dump ends before byte "),
                  0u)
            << size;
}

TEST(MinidumpParser, RefusesAnotherSignatureAndVersion) {
    std::vector<char> bytes = SmallDump();
    bytes[0] = 'm';
    EXPECT_EQ(Refusal(bytes), "no minidump: it does not begin with MDMP");
    bytes = SmallDump();
    bytes[4] = 0;
    EXPECT_EQ(Refusal(bytes), "a minidump of an unknown version");
}

TEST(MinidumpParser, NamesAStreamThatIsNotThere) {
    EXPECT_EQ(ThrownText<std::runtime_error>([] { Minidump(SmallDump()).System(); }),
              "the dump has no stream of type 7");
}

} // namespace
