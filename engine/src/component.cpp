#include "vantrove/engine/component.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "vantrove/engine/description.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dwg_writer.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"
#include "vantrove/engine/edits.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}
}  // namespace

struct DrawingComponent::Impl {
  Status status;
  std::unique_ptr<Document> document;
  std::unique_ptr<DrawingEditor> editor;

  void Set(Status s) { status = std::move(s); }
  // Runs an edit on the open drawing and keeps its status.
  template <class Edit>
  void RunEdit(Edit&& edit) {
    if (!document) {
      Set(Status::Error(StatusCode::kNoDrawingOpen, "No drawing is open"));
      return;
    }
    try {
      if (!editor) editor = std::make_unique<DrawingEditor>(*document);
      Set(edit(*editor));
    } catch (const std::bad_alloc&) {
      Set(Status::Error(StatusCode::kFileTooLarge, "Not enough memory for the edit"));
    } catch (const std::exception& e) {
      Set(Status::Error(StatusCode::kDamaged, std::string("The edit failed (") + e.what() + ")"));
    }
  }
};

namespace {
std::string CutAtNul(const std::string& text) { return text.substr(0, text.find('\0')); }
}  // namespace

DrawingComponent::DrawingComponent() : impl_(std::make_unique<Impl>()) {}
DrawingComponent::~DrawingComponent() = default;

void DrawingComponent::OpenDrawing(int32_t& result, const std::string& path_in, const std::string&) {
  result = 0;
  try {
    impl_->editor.reset();
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
    auto document = std::make_unique<Document>();
    Status status = extension == ".dwg" ? ReadDwgFile(path, *document) : ReadDxfFile(path, *document);
    impl_->Set(status);
    // An incomplete drawing opens with its note as the status.
    if (!status.ok() && !status.done_with_note()) return;
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
  impl_->editor.reset();
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

const Status& DrawingComponent::CurrentStatus() const { return impl_->status; }
void DrawingComponent::LastStatus(std::string& status) const { status = impl_->status.Text(); }
void DrawingComponent::SaveAs(const std::string& path_in, int32_t version) {
  const std::string path = CutAtNul(path_in);
  if (!impl_->document) {
    impl_->Set(Status::Error(StatusCode::kNoDrawingOpen, "No drawing is open: cannot save " + path));
    return;
  }
  const std::string extension = path.size() >= 4 ? Lower(path.substr(path.size() - 4)) : std::string();
  if (extension == ".dwg") {
    try {
      impl_->Set(WriteDwgFile(*impl_->document, version, path));
    } catch (const std::exception& e) {
      impl_->Set(Status::Error(StatusCode::kCannotWriteFile, std::string("Cannot write the file (") + e.what() + "): " + path));
    }
    return;
  }
  if (extension != ".dxf") {
    impl_->Set(Status::Error(StatusCode::kInvalidSaveType,
                             "Invalid file type, the drawing can be saved as .dxf (or .dwg): " + path));
    return;
  }
  DxfWriteOptions options;
  options.version = version;
  options.binary = impl_->document->format == DrawingFormat::kDxfBinary;
  try {
    impl_->Set(WriteDxfFile(*impl_->document, options, path));
  } catch (const std::exception& e) {
    impl_->Set(Status::Error(StatusCode::kCannotWriteFile, std::string("Cannot write the file (") + e.what() + "): " + path));
  }
}

void DrawingComponent::WriteDxf(const std::string& path_in, int32_t precision, int32_t version) {
  const std::string path = CutAtNul(path_in);
  if (!impl_->document) {
    impl_->Set(Status::Error(StatusCode::kNoDrawingOpen, "No drawing is open: cannot write " + path));
    return;
  }
  DxfWriteOptions options;
  options.version = version;
  options.precision = precision;
  try {
    impl_->Set(WriteDxfFile(*impl_->document, options, path));
  } catch (const std::exception& e) {
    impl_->Set(Status::Error(StatusCode::kCannotWriteFile, std::string("Cannot write the file (") + e.what() + "): " + path));
  }
}

void DrawingComponent::SetAttributeValue(const std::string& value, const std::string& handle) {
  impl_->RunEdit([&](DrawingEditor& e) { return e.SetAttributeValue(value, handle); });
}

void DrawingComponent::SetXrefPath(const std::string& path, const std::string& name) {
  impl_->RunEdit([&](DrawingEditor& e) { return e.SetXrefPath(path, name); });
}

void DrawingComponent::SetImagePath(const std::string& path, const std::string& handle) {
  impl_->RunEdit([&](DrawingEditor& e) { return e.SetImagePath(path, handle); });
}

void DrawingComponent::SetLayerState(const std::string& name, int32_t state, int32_t mode) {
  impl_->RunEdit([&](DrawingEditor& e) { return e.SetLayerState(name, state, mode); });
}

void DrawingComponent::SetTextValue(const std::string& text, const std::string& handle) {
  impl_->RunEdit([&](DrawingEditor& e) { return e.SetTextValue(text, handle); });
}

void DrawingComponent::DeleteObject(const std::string& handle) {
  impl_->RunEdit([&](DrawingEditor& e) { return e.DeleteObject(handle); });
}

const Document* DrawingComponent::document() const { return impl_->document.get(); }

std::string ModuleFile() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&ModuleFile), &info) == 0 || info.dli_fname == nullptr) return {};
  return info.dli_fname;
}

}  // namespace vantrove::engine
