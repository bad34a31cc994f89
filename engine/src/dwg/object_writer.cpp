#include "dwg/object_writer.hpp"

#include <cstdio>
#include <cstring>

#include "dwg/checksum.hpp"

namespace vantrove::engine::dwg {

void AppendLe(std::string& out, uint64_t value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void AppendReal(std::string& out, double value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  AppendLe(out, bits, 8);
}

std::string EscapedText(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<uint8_t>(utf8[i]);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      continue;
    }
    const std::vector<uint16_t> units = Utf8ToUtf16(utf8.substr(i, c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2));
    size_t len = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
    i += len - 1;
    // The file's code page is ANSI_1252: its upper half is Latin-1.
    if (units.size() == 1 && units[0] >= 0xA0 && units[0] <= 0xFF) {
      out.push_back(static_cast<char>(units[0]));
      continue;
    }
    for (uint16_t u : units) {
      char buf[12];
      std::snprintf(buf, sizeof buf, "\\U+%04X", static_cast<unsigned>(u));
      out += buf;
    }
  }
  return out;
}

ObjectWriter::ObjectWriter(uint16_t type, uint64_t handle, const BitWriter* extendedData, WriterBuffers* reuse)
    : data_(reuse != nullptr ? reuse->data : own_.data), handles_(reuse != nullptr ? reuse->handles : own_.handles) {
  data_.Clear();
  handles_.Clear();
  data_.BS(type);
  sizeAt_ = data_.position();
  data_.RL(0);
  data_.H(0, handle);
  if (extendedData != nullptr) data_.Append(*extendedData);
  data_.BS(0);  // no (more) extended data
}

void ObjectWriter::BeginObject(uint64_t owner, const std::vector<uint64_t>& reactors, uint64_t xdictionary) {
  data_.BL(static_cast<uint32_t>(reactors.size()));
  handles_.H(4, owner);
  for (uint64_t r : reactors) handles_.H(4, r);
  handles_.H(3, xdictionary);
}

void ObjectWriter::BeginEntity(const EntityCommon& e, const std::vector<uint64_t>& reactors, uint64_t xdictionary) {
  isEntity_ = true;
  entity_ = e;
  data_.B(false);  // no preview graphics
  data_.BB(e.mode);
  data_.BL(static_cast<uint32_t>(reactors.size()));
  data_.B(false);  // the chain links are given
  data_.BS(static_cast<uint16_t>(e.color));
  data_.BD(e.linetypeScale);
  data_.BB(e.linetypeFlags);
  data_.BB(0);     // plot style by layer
  data_.BS(e.invisible ? 1 : 0);
  data_.RC(e.lineweight);
  if (e.mode == 0) handles_.H(4, e.owner);
  for (uint64_t r : reactors) handles_.H(4, r);
  handles_.H(3, xdictionary);
  handles_.H(4, e.prev);
  handles_.H(4, e.next);
  handles_.H(5, e.layer);
  if (e.linetypeFlags == 3) handles_.H(5, e.linetype);
}

void ObjectWriter::Text(std::string_view utf8) {
  const std::string bytes = EscapedText(utf8);
  data_.TV(bytes, !bytes.empty());
}

void ObjectWriter::FinishInto(std::string& out) {
  const size_t dataBits = data_.position();
  data_.PatchRL(sizeAt_, static_cast<uint32_t>(dataBits));
  data_.Append(handles_);
  data_.AlignByte();
  const std::vector<uint8_t>& body = data_.bytes();
  const size_t start = out.size();
  // The size as a modular short: 15 bits per 16-bit word, low first.
  size_t size = body.size();
  do {
    uint16_t word = static_cast<uint16_t>(size & 0x7FFF);
    size >>= 15;
    if (size != 0) word |= 0x8000;
    out.push_back(static_cast<char>(word & 0xFF));
    out.push_back(static_cast<char>(word >> 8));
  } while (size != 0);
  out.append(reinterpret_cast<const char*>(body.data()), body.size());
  const uint16_t crc = Crc16(0xC0C1, reinterpret_cast<const uint8_t*>(out.data()) + start, out.size() - start);
  out.push_back(static_cast<char>(crc & 0xFF));
  out.push_back(static_cast<char>(crc >> 8));
}

}  // namespace vantrove::engine::dwg
