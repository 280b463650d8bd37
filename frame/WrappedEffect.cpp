// The inner effect's parameter answers of every wrapper.
#include "frame/WrappedEffect.h"

namespace halcyra {

bool AnswerInnerParameter(const WrapperDescriptor& descriptor, IVideoHost* outerHost, int32_t index,
                          ParameterValue* value, int32_t type) {
    if (outerHost == nullptr || value == nullptr) return false;
    value->type = type;
    if (index < 0 || static_cast<size_t>(index) >= descriptor.inner.size()) return false;
    const InnerSource& source = descriptor.inner[static_cast<size_t>(index)];
    if (source.shownIndex >= 0) return outerHost->GetParameterValue(source.shownIndex, value, type);
    std::memcpy(&value->value, &source.fixedBits, source.fixedSize);
    return true;
}

}  // namespace halcyra
