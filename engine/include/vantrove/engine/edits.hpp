#pragma once
// Single changes to an open drawing, addressed by handle (hex text) or by
// name. Each edit changes the typed fields and the source groups together,
// so that the description shows the change and a DXF write carries it.
//
// Failures come back as a status: kInvalidHandle (empty or not 1 to 16 hex
// digits), kHandleNotFound, kWrongObjectKind, kLayerNotFound,
// kXrefNotFound, kInvalidLayerState, kInvalidLayerMode, kCannotDelete.

#include <cstdint>
#include <memory>
#include <string_view>

#include "vantrove/engine/document.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

class DrawingEditor {
 public:
  explicit DrawingEditor(Document& document);
  ~DrawingEditor();
  DrawingEditor(const DrawingEditor&) = delete;
  DrawingEditor& operator=(const DrawingEditor&) = delete;

  // TEXT: the value on one line (line breaks become spaces). MTEXT: a value
  // with formatting codes is taken as it is (line breaks become \P); plain
  // text keeps the formatting that opened the old value.
  Status SetTextValue(std::string_view text, std::string_view handle);
  // ATTRIB only (a multi-line attribute gets the text in its embedded MTEXT).
  Status SetAttributeValue(std::string_view value, std::string_view handle);
  // Any entity except the parts of another one (VERTEX, SEQEND, BLOCK,
  // ENDBLK). An INSERT takes its ATTRIBs and SEQEND along, a POLYLINE its
  // VERTEXes and SEQEND; objects the entity owns (extension dictionary,
  // image reactor) go too, and reactors, dictionary entries, groups and
  // draw-order tables that name any of them are cleaned.
  Status DeleteObject(std::string_view handle);
  // The IMAGEDEF of the IMAGE with that handle (or the IMAGEDEF itself).
  Status SetImagePath(std::string_view path, std::string_view handle);
  // The external reference block of that name.
  Status SetXrefPath(std::string_view path, std::string_view name);
  // mode 1 (on/off): state 1 on, 2 off (a negative colour number).
  // mode 2 (freeze/thaw): state 1 thawed, 2 frozen (flag 1 of group 70).
  Status SetLayerState(std::string_view name, int32_t state, int32_t mode);

 private:
  struct References;
  Document& doc_;
  std::unique_ptr<References> references_;
};

}  // namespace vantrove::engine
