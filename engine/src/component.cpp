#include "vantrove/engine/component.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "vantrove/engine/description.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

namespace {
constexpr const char* kNotAvailable = "1900:This operation is not available in this build of the drawing engine";

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}
}  // namespace

struct DrawingComponent::Impl {
  std::string status = Status::Ok().Text();
  std::unique_ptr<Document> document;

  void Set(const Status& s) { status = s.Text(); }
};

DrawingComponent::DrawingComponent() : impl_(std::make_unique<Impl>()) {}
DrawingComponent::~DrawingComponent() = default;

void DrawingComponent::OpenDrawing(int32_t& result, const std::string& path_in, const std::string&) {
  result = 0;
  try {
    impl_->document.reset();
    const std::string path = path_in.substr(0, path_in.find('\0'));
    std::error_code error;
    if (path.empty() || !std::filesystem::exists(path, error)) {
      impl_->Set(Status::Error(StatusCode::kFileNotFound, "File not found: " + path));
      return;
    }
    const std::string extension = path.size() >= 4 ? Lower(path.substr(path.size() - 4)) : std::string();
    if (extension != ".dxf" && extension != ".dwg") {
      impl_->Set(Status::Error(StatusCode::kInvalidFileType, "Invalid file type, the file must be a .dwg or .dxf drawing: " + path));
      return;
    }
    if (extension == ".dwg") {
      impl_->Set(Status::Error(StatusCode::kDwgNotSupported, "Reading DWG files is not supported yet: " + path));
      return;
    }
    auto document = std::make_unique<Document>();
    Status status = ReadDxfFile(path, *document);
    impl_->Set(status);
    if (!status.ok()) return;
    impl_->document = std::move(document);
    result = 1;
  } catch (const std::bad_alloc&) {
    impl_->document.reset();
    impl_->Set(Status::Error(StatusCode::kFileTooLarge, "Not enough memory to open the drawing: " + path_in));
  } catch (const std::exception& e) {
    impl_->document.reset();
    impl_->Set(Status::Error(StatusCode::kDamaged, std::string("The drawing could not be opened (") + e.what() + "): " + path_in));
  }
}

void DrawingComponent::CloseDrawing() {
  if (!impl_->document) {
    impl_->Set(Status::Error(StatusCode::kNoDrawingOpen, "No drawing is open"));
    return;
  }
  impl_->document.reset();
  impl_->Set(Status::Ok());
}

void DrawingComponent::WriteXmlDescription(const std::string& path, int32_t blocks, int32_t attributeDefinitions,
                                           int32_t externalReferences, int32_t layers, int32_t layouts,
                                           int32_t systemVariables, int32_t images, int32_t text) {
  if (!impl_->document) {
    impl_->Set(Status::Error(StatusCode::kNoDrawingOpen, "No drawing is open: cannot write the description to " + path));
    return;
  }
  DescriptionSections sections;
  sections.blocks = blocks != 0;
  sections.attribute_definitions = attributeDefinitions != 0;
  sections.external_references = externalReferences != 0;
  sections.layers = layers != 0;
  sections.layouts = layouts != 0;
  sections.system_variables = systemVariables != 0;
  sections.images = images != 0;
  sections.text = text != 0;
  try {
    impl_->Set(WriteDescriptionFile(*impl_->document, sections, path.substr(0, path.find('\0'))));
  } catch (const std::exception& e) {
    impl_->Set(Status::Error(StatusCode::kCannotWriteFile, std::string("Cannot write the file (") + e.what() + "): " + path));
  }
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
const Document* DrawingComponent::document() const { return impl_->document.get(); }

std::string ModuleFile() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&ModuleFile), &info) == 0 || info.dli_fname == nullptr) return {};
  return info.dli_fname;
}

}  // namespace vantrove::engine
