// Word documents: placeholder until the table writer lands.
#include "docx_document.hpp"

#include "vantrove/runtime.hpp"

namespace vantrove::docx {

struct Document::State {
  std::string path;
};

Document::Document() : s_(std::make_unique<State>()) {}
Document::~Document() = default;
const std::string& Document::path() const { return s_->path; }
bool Document::IsFile(const std::string& path) const { return !s_->path.empty() && path == s_->path; }

}  // namespace vantrove::docx
