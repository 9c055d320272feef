#include "unexpected_errors.h"

#include "saved_report.h"

#include <kq/error/error_reporter.h>

#include <exception>
#include <utility>

namespace duplicate_finder {
namespace {

/// To be called while an exception is handled: what it says.
std::wstring TextOfCurrentException() {
    try {
        throw;
    } catch (const find_duplicates::BadReport& problem) {
        return problem.Message();
    } catch (const std::exception& problem) {
        const std::string text = problem.what();
        return {text.begin(), text.end()};
    } catch (...) {
        return L"unknown exception";
    }
}

} // namespace

UnexpectedErrors::UnexpectedErrors(std::function<void()> onNews)
    : texts_(std::make_shared<Texts>()),
      connection_(
          kq::error::errorReporter->AddReporter([texts = texts_, onNews = std::move(onNews)] {
              {
                  const std::lock_guard guard(texts->mutex);
                  texts->texts.push_back(TextOfCurrentException());
              }
              onNews();
          })) {}

std::vector<std::wstring> UnexpectedErrors::Take() {
    const std::lock_guard guard(texts_->mutex);
    return std::exchange(texts_->texts, {});
}

} // namespace duplicate_finder
