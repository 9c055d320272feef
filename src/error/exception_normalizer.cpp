#include <kq/error/exception_normalizer.h>

#include "error/callbacks.h"

namespace kq::error {

class ExceptionNormalizerImpl {
public:
    Callbacks<void()> normalizers;
};

Singleton<ExceptionNormalizer, boost::shared_ptr> exceptionNormalizer;

ExceptionNormalizer::ExceptionNormalizer() : impl_(std::make_unique<ExceptionNormalizerImpl>()) {}
ExceptionNormalizer::~ExceptionNormalizer() = default;

shared_ref<ExceptionNormalizer, boost::shared_ptr> ExceptionNormalizer::Create() {
    return boost::shared_ptr<ExceptionNormalizer>(new ExceptionNormalizer,
                                                  &ExceptionNormalizer::Destroy);
}

void ExceptionNormalizer::Destroy(ExceptionNormalizer* normalizer) { delete normalizer; }

boost::shared_ptr<boost::signals2::scoped_connection> ExceptionNormalizer::AddNormalizer(
    boost::function<void()> const& normalizer) {
    return impl_->normalizers.Add(normalizer);
}

void ExceptionNormalizer::NormalizeCurrentException() { impl_->normalizers.Call(); }

} // namespace kq::error
