#include "dxf/record_source.hpp"

namespace vantrove::engine::dxf {

void RecordSource::MaterializeAll(const Document& doc) {
  for (const Object* object : doc.all_objects()) doc.Groups(*object);
}

GroupSpan RecordSource::Decode(Document& doc, const Object&, uint32_t offset, uint32_t size) {
  Tokenizer tokens(data_, offset, size_t{offset} + size, doc.text_arena(), binary_, one_byte_codes_);
  scratch_.clear();
  RawGroup group;
  while (tokens.Next(group)) scratch_.emplace_back(group.code, DecodeValue(group, doc.text_arena()));
  return scratch_;
}

}  // namespace vantrove::engine::dxf
