// Minidump files, as a debugger reads them.
#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kq_test {

static_assert(sizeof(MINIDUMP_HEADER) == 32 && sizeof(MINIDUMP_DIRECTORY) == 12);
static_assert(sizeof(MINIDUMP_EXCEPTION_STREAM) == 168 && sizeof(MINIDUMP_THREAD) == 48);
static_assert(sizeof(MINIDUMP_MODULE) == 108);

/// What a minidump says. Everything throws `std::runtime_error` when the bytes do not say it: a
/// dump that was cut off, an offset that leads out of it, a stream that is not there.
class Minidump {
public:
    struct Module {
        std::uint64_t begin;
        std::uint64_t end;
        std::wstring name;
    };

    explicit Minidump(std::vector<char> bytes) : bytes_(std::move(bytes)) {
        constexpr std::uint32_t signature = 0x504d444d; // "MDMP"
        constexpr std::uint16_t version = 0xa793;
        const auto header = At<MINIDUMP_HEADER>(0);
        if (header.Signature != signature)
            throw std::runtime_error("no minidump: it does not begin with MDMP");
        if (static_cast<std::uint16_t>(header.Version) != version)
            throw std::runtime_error("a minidump of an unknown version");
        directory_ = Several<MINIDUMP_DIRECTORY>(header.StreamDirectoryRva, header.NumberOfStreams);
        for (const MINIDUMP_DIRECTORY& stream : directory_)
            Require(stream.Location.Rva, stream.Location.DataSize);
    }

    /// The minidump in the file `name`, which nobody else may have open.
    static Minidump Read(const std::wstring& name) {
        const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            throw std::runtime_error("the dump cannot be opened, error " +
                                     std::to_string(GetLastError()));
        std::vector<char> bytes(GetFileSize(file, nullptr));
        DWORD read = 0;
        const BOOL isRead =
            ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
        CloseHandle(file);
        if (!isRead || read != bytes.size())
            throw std::runtime_error("the dump cannot be read");
        return Minidump(std::move(bytes));
    }

    bool Has(MINIDUMP_STREAM_TYPE type) const { return Find(type) != nullptr; }

    MINIDUMP_SYSTEM_INFO System() const {
        return At<MINIDUMP_SYSTEM_INFO>(Stream(SystemInfoStream).Rva);
    }

    /// The exception, with the identifier of the thread that raised it.
    MINIDUMP_EXCEPTION_STREAM Exception() const {
        return At<MINIDUMP_EXCEPTION_STREAM>(Stream(ExceptionStream).Rva);
    }

    /// The registers of that thread when it raised the exception.
    CONTEXT ExceptionContext() const {
        const MINIDUMP_LOCATION_DESCRIPTOR location = Exception().ThreadContext;
        if (location.DataSize < sizeof(CONTEXT))
            throw std::runtime_error("the registers in the dump are incomplete");
        return At<CONTEXT>(location.Rva);
    }

    std::vector<MINIDUMP_THREAD> Threads() const { return List<MINIDUMP_THREAD>(ThreadListStream); }

    /// The identifiers of all threads.
    std::vector<std::uint32_t> ThreadIds() const {
        std::vector<std::uint32_t> ids;
        for (const MINIDUMP_THREAD& thread : Threads())
            ids.push_back(thread.ThreadId);
        return ids;
    }

    std::vector<Module> Modules() const {
        std::vector<Module> modules;
        for (const auto& module : List<MINIDUMP_MODULE>(ModuleListStream))
            modules.push_back({module.BaseOfImage, module.BaseOfImage + module.SizeOfImage,
                               Text(module.ModuleNameRva)});
        return modules;
    }

    /// The file name, without its folder, of the module that `address` lies in; empty when there
    /// is none.
    std::wstring ModuleAt(std::uint64_t address) const {
        for (const Module& module : Modules())
            if (module.begin <= address && address < module.end)
                return module.name.substr(module.name.find_last_of(L'\\') + 1);
        return {};
    }

private:
    void Require(std::size_t offset, std::size_t size) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset)
            throw std::runtime_error("the dump ends before byte " + std::to_string(offset + size));
    }

    template <class Record>
    Record At(std::size_t offset) const {
        Require(offset, sizeof(Record));
        Record record{};
        std::memcpy(&record, bytes_.data() + offset, sizeof(Record));
        return record;
    }

    template <class Record>
    std::vector<Record> Several(std::size_t offset, std::size_t count) const {
        Require(offset, count * sizeof(Record));
        std::vector<Record> records;
        for (std::size_t index = 0; index != count; ++index)
            records.push_back(At<Record>(offset + index * sizeof(Record)));
        return records;
    }

    const MINIDUMP_LOCATION_DESCRIPTOR* Find(MINIDUMP_STREAM_TYPE type) const {
        for (const MINIDUMP_DIRECTORY& stream : directory_)
            if (stream.StreamType == static_cast<std::uint32_t>(type))
                return &stream.Location;
        return nullptr;
    }

    MINIDUMP_LOCATION_DESCRIPTOR Stream(MINIDUMP_STREAM_TYPE type) const {
        const MINIDUMP_LOCATION_DESCRIPTOR* const location = Find(type);
        if (location == nullptr)
            throw std::runtime_error("the dump has no stream of type " + std::to_string(type));
        return *location;
    }

    template <class Record>
    std::vector<Record> List(MINIDUMP_STREAM_TYPE type) const {
        const std::size_t offset = Stream(type).Rva;
        return Several<Record>(offset + sizeof(std::uint32_t), At<std::uint32_t>(offset));
    }

    std::wstring Text(std::size_t offset) const {
        const auto length = At<std::uint32_t>(offset);
        const auto characters = Several<wchar_t>(offset + sizeof length, length / sizeof(wchar_t));
        return {characters.begin(), characters.end()};
    }

    std::vector<char> bytes_;
    std::vector<MINIDUMP_DIRECTORY> directory_;
};

} // namespace kq_test
