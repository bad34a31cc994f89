#pragma once
// The source forms of the records of a DXF file, decoded on demand. The
// reader keeps, for every record, where its groups lie in the file; the
// first Document::Groups call on the record reads them again with the same
// tokenizer and text decoding the reader used, so the values are the
// same, byte for byte, as if they had been stored while reading.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dxf/text_decoder.hpp"
#include "dxf/tokenizer.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dxf {

class RecordSource final : public Document::SourceDecoder {
 public:
  // `data` is the whole file, kept alive by the document.
  RecordSource(const char* data, bool binary, bool one_byte_codes)
      : data_(data), binary_(binary), one_byte_codes_(one_byte_codes) {}

  // The decoder of string values; the reader uses it too and sets its code
  // page. Change its settings only with no record pending (see
  // MaterializeAll).
  TextDecoder& text() { return text_; }
  // The value of one group as the model keeps it.
  std::string_view DecodeValue(const RawGroup& group, TextArena& arena) {
    if (GroupTypeOf(group.code) != GroupType::kString) return group.value;
    return text_.Decode(group.value, arena);
  }
  // Decodes every pending record of `doc` now (before a text setting changes).
  static void MaterializeAll(const Document& doc);

  GroupSpan Decode(Document& doc, const Object& object, uint32_t offset, uint32_t size) override;

 private:
  const char* data_;
  bool binary_;
  bool one_byte_codes_;
  TextDecoder text_;
  std::vector<Group> scratch_;
};

}  // namespace vantrove::engine::dxf
