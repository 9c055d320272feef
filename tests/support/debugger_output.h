// What the process writes to the debugger.
#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kq_test {

/// Stands in for a debugger as long as it lives: receives every text that a thread of the process
/// writes with `OutputDebugStringW`. One at a time. The platform raises an exception to hand such a
/// text over, which this handles as a debugger would.
class DebuggerOutput {
public:
    struct Message {
        DWORD thread;
        std::wstring text;
    };

    /// `onMessage` runs on the thread that writes, which does not go on until it returns.
    explicit DebuggerOutput(std::function<void(const std::wstring&)> onMessage = {})
        : onMessage_(std::move(onMessage)) {
        current_ = this;
        handler_ = AddVectoredExceptionHandler(1, Handle);
        if (handler_ == nullptr)
            throw std::runtime_error("the test cannot listen to the debugger's output");
    }
    ~DebuggerOutput() {
        RemoveVectoredExceptionHandler(handler_);
        current_ = nullptr;
    }
    DebuggerOutput(const DebuggerOutput&) = delete;
    DebuggerOutput& operator=(const DebuggerOutput&) = delete;

    /// What has been written so far.
    std::vector<Message> Messages() const {
        const std::lock_guard guard(mutex_);
        return messages_;
    }

    /// What has been written since the last time, without the threads.
    std::vector<std::wstring> Take() {
        const std::lock_guard guard(mutex_);
        std::vector<std::wstring> texts;
        for (Message& message : messages_)
            texts.push_back(std::move(message.text));
        messages_.clear();
        return texts;
    }

private:
    // The length with the closing zero, and the text: wide, or narrow where the system knows no
    // other way.
    static LONG CALLBACK Handle(EXCEPTION_POINTERS* raised) {
        constexpr DWORD narrowText = 0x4001'0006;
        constexpr DWORD wideText = 0x4001'000A;
        const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
        if (record.ExceptionCode == wideText)
            current_->Receive(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]));
        else if (record.ExceptionCode == narrowText)
            current_->Receive(Wide(reinterpret_cast<const char*>(record.ExceptionInformation[1])));
        else
            return EXCEPTION_CONTINUE_SEARCH;
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    static std::wstring Wide(const std::string& text) {
        const int length = static_cast<int>(text.size());
        std::wstring wide(text.size(), L'\0');
        wide.resize(static_cast<std::size_t>(
            MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), length)));
        return wide;
    }

    void Receive(const std::wstring& text) {
        {
            const std::lock_guard guard(mutex_);
            messages_.push_back({GetCurrentThreadId(), text});
        }
        if (onMessage_)
            onMessage_(text);
    }

    inline static DebuggerOutput* current_ = nullptr;

    std::function<void(const std::wstring&)> onMessage_;
    mutable std::mutex mutex_;
    std::vector<Message> messages_;
    void* handler_ = nullptr;
};

} // namespace kq_test
