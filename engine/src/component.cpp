#include "vantrove/engine/component.hpp"

#include <dlfcn.h>

namespace vantrove::engine {

namespace {
constexpr const char* kOk = "1000:Ok";
constexpr const char* kNotAvailable = "1900:This operation is not available in this build of the drawing engine";
}  // namespace

struct DrawingComponent::Impl {
  std::string status = kOk;
};

DrawingComponent::DrawingComponent() : impl_(std::make_unique<Impl>()) {}
DrawingComponent::~DrawingComponent() = default;

void DrawingComponent::OpenDrawing(int32_t& result, const std::string&, const std::string&) {
  result = 0;
  impl_->status = kNotAvailable;
}
void DrawingComponent::CloseDrawing() { impl_->status = kNotAvailable; }
void DrawingComponent::WriteXmlDescription(const std::string&, int32_t, int32_t, int32_t, int32_t,
                                           int32_t, int32_t, int32_t, int32_t) {
  impl_->status = kNotAvailable;
}
void DrawingComponent::LastStatus(std::string& status) const { status = impl_->status; }
void DrawingComponent::SaveAs(const std::string&, int32_t) { impl_->status = kNotAvailable; }
void DrawingComponent::WriteDxf(const std::string&, int32_t, int32_t) { impl_->status = kNotAvailable; }
void DrawingComponent::SetAttributeValue(const std::string&, const std::string&) { impl_->status = kNotAvailable; }
void DrawingComponent::SetXrefPath(const std::string&, const std::string&) { impl_->status = kNotAvailable; }
void DrawingComponent::SetImagePath(const std::string&, const std::string&) { impl_->status = kNotAvailable; }
void DrawingComponent::SetLayerState(const std::string&, int32_t, int32_t) { impl_->status = kNotAvailable; }
void DrawingComponent::SetTextValue(const std::string&, const std::string&) { impl_->status = kNotAvailable; }
void DrawingComponent::DeleteObject(const std::string&) { impl_->status = kNotAvailable; }
const Document* DrawingComponent::document() const { return nullptr; }

std::string ModuleFile() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&ModuleFile), &info) == 0 || info.dli_fname == nullptr) return {};
  return info.dli_fname;
}

}  // namespace vantrove::engine
