#pragma once
// Typed drawing objects. Every object has a source form, the DXF group codes
// in file order, next to the fields the engine reads and edits. The source
// form is reached through Document::Groups(object) (and replaced with
// Document::SetGroups): a reader may keep only where the record lies in the
// file and leave the groups to be decoded on first use. An object whose
// type the engine does not know is a plain Object: its groups are all
// there is, and a writer copies them through unchanged.
//
// Objects live in the Document's object arena; all string_views point into
// storage owned by the Document (UTF-8).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/engine/groups.hpp"
#include "vantrove/engine/handle.hpp"

namespace vantrove::engine {

enum class ObjectKind : uint8_t {
  kOther,        // kept as read (LINE, HATCH, XRECORD, CLASS, TABLE heads, ...)
  kLayer,
  kBlockRecord,
  kBlock,        // BLOCK: begins a block definition
  kEndBlk,
  kInsert,       // INSERT, with or without rows and columns (MINSERT)
  kAttrib,
  kAttDef,
  kText,
  kMText,
  kImage,
  kImageDef,
  kLayout,
  kDictionary,
  kSeqEnd,
};

// Where a record came from in a DXF file (a DWG reader uses the section
// the same record would have in DXF).
enum class Section : uint8_t { kNone, kClasses, kTables, kBlocks, kEntities, kObjects };

struct Point3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

class Block;
class Insert;

class Object {
 public:
  explicit Object(ObjectKind kind) : kind_(kind) {}
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  ObjectKind kind() const { return kind_; }
  virtual bool is_entity() const { return false; }

  std::string_view type_name;  // record name as in DXF: "INSERT", "LAYER", "CLASS", ...
  Handle handle = kNoHandle;   // 5 (105 for DIMSTYLE)
  Handle owner = kNoHandle;    // the soft owner (330 outside 102 groups)

 private:
  friend class Document;
  // The source form (see Document::Groups): the stored groups, or, while
  // `form_pending_`, where the document's source decoder finds them.
  mutable union Form {
    const Group* groups;
    uint32_t offset;
  } form_{nullptr};
  mutable uint32_t form_size_ = 0;  // group count, or the pending record's byte length

 public:
  uint32_t element_id = 0;     // position in reading order, stable within one file
  Section section = Section::kNone;
  bool handle_assigned = false;  // the file had no handle; the engine gave one
  bool synthesized = false;      // made by the engine (missing default); not in the file
  bool erased = false;           // deleted by an edit: in no list, found by no look-up

 private:
  ObjectKind kind_;
  mutable bool form_pending_ = false;
  bool in_arena_ = false;  // made by Document::New: the arena holds its memory
};

class Entity : public Object {
 public:
  using Object::Object;
  bool is_entity() const override { return true; }

  bool paper_space = false;    // 67 = 1 (first: it fits in the tail of Object)
  std::string_view layer;      // 8
  Block* block = nullptr;      // the block definition or layout block that holds it
};

class Layer : public Object {
 public:
  Layer() : Object(ObjectKind::kLayer) {}
  std::string_view name;       // 2
  int32_t color = 7;           // 62; negative when the layer is off
  int32_t flags = 0;           // 70: 1 frozen, 2 frozen in new viewports, 4 locked
  std::string_view linetype;   // 6
  int32_t lineweight = -3;     // 370
  bool plot = true;            // 290

  bool on() const { return color >= 0; }
  bool frozen() const { return (flags & 1) != 0; }
  bool locked() const { return (flags & 4) != 0; }
};

class Layout;

class BlockRecord : public Object {
 public:
  BlockRecord() : Object(ObjectKind::kBlockRecord) {}
  std::string_view name;       // 2
  Handle layout_handle = kNoHandle;  // 340
  Block* block = nullptr;
  Layout* layout = nullptr;
};

class Block : public Entity {
 public:
  Block() : Entity(ObjectKind::kBlock) {}
  std::string_view name;        // 2
  int32_t flags = 0;            // 70: 1 anonymous, 2 has attribute definitions, 4 external
                                // reference, 8 overlay, 16 xref dependent, 32 resolved
  Point3 base;                  // 10/20/30
  std::string_view xref_path;   // 1
  std::string_view description; // 4
  // Every entity the block holds, in file order. For the model space and
  // the paper space blocks these came from the ENTITIES section of a DXF
  // file (Entity::section tells which ones).
  std::vector<Entity*> entities;
  Object* end = nullptr;        // ENDBLK
  BlockRecord* record = nullptr;

  bool anonymous() const { return (flags & 1) != 0; }
  bool is_xref() const { return (flags & 4) != 0; }
  bool is_overlay() const { return (flags & 8) != 0; }
  bool xref_dependent() const { return (flags & 16) != 0; }
  bool xref_resolved() const { return (flags & 32) != 0; }
};

class Attrib;

class Insert : public Entity {
 public:
  Insert() : Entity(ObjectKind::kInsert) {}
  std::string_view block_name;  // 2
  Point3 point;                 // 10/20/30
  Point3 scale{1.0, 1.0, 1.0};  // 41/42/43
  double rotation = 0.0;        // 50, degrees
  int32_t columns = 1;          // 70
  int32_t rows = 1;             // 71
  double column_spacing = 0.0;  // 44
  double row_spacing = 0.0;     // 45
  bool attributes_follow = false;  // 66
  std::vector<Attrib*> attribs;    // the ATTRIBs that follow it, in order
  Object* seqend = nullptr;

  bool minsert() const { return rows > 1 || columns > 1; }
};

// TEXT, ATTRIB and ATTDEF share the single-line text fields.
class TextEntity : public Entity {
 public:
  using Entity::Entity;
  std::string_view value;       // 1
  Point3 point;                 // 10/20/30
  double height = 0.0;          // 40
  double rotation = 0.0;        // 50
  std::string_view style;       // 7
};

class Text : public TextEntity {
 public:
  Text() : TextEntity(ObjectKind::kText) {}
};

class Attrib : public TextEntity {
 public:
  Attrib() : TextEntity(ObjectKind::kAttrib) {}
  explicit Attrib(ObjectKind kind) : TextEntity(kind) {}
  int32_t flags = 0;            // 70: 1 invisible, 2 constant, 4 verify, 8 preset
  // Multi-line attributes (2018 DXF) carry an embedded MTEXT whose text is
  // the readable value; `value` is then usually empty.
  bool multiline = false;
  std::string_view tag;         // 2
  std::string_view mtext_value;
  Insert* insert = nullptr;     // the block reference it belongs to (ATTRIB only)

  bool invisible() const { return (flags & 1) != 0; }
  bool constant() const { return (flags & 2) != 0; }
  bool verify() const { return (flags & 4) != 0; }
  bool preset() const { return (flags & 8) != 0; }
  // The value a reader shows: the embedded MTEXT text of a multi-line
  // attribute, else the single-line value.
  std::string_view display_value() const { return multiline && value.empty() ? mtext_value : value; }
};

class AttDef : public Attrib {
 public:
  AttDef() : Attrib(ObjectKind::kAttDef) {}
  std::string_view prompt;      // 3
};

class MText : public Entity {
 public:
  MText() : Entity(ObjectKind::kMText) {}
  std::string_view value;       // the 3 groups then the 1 group, joined: formatting codes kept
  Point3 point;                 // 10/20/30
  double height = 0.0;          // 40
  double width = 0.0;           // 41
  std::string_view style;       // 7

  std::string PlainText() const;
};

// The readable text of an MTEXT value: formatting codes removed, \P as a
// line feed, \~ as a no-break space, %%c/%%d/%%p as their symbols, stacked
// text as written ("1/2", "1#2", "1^ 2" as "1^2"), ^J/^I as line feed/tab,
// \U+XXXX as the character, escaped \\ \{ \} as the character.
std::string MTextPlainText(std::string_view value);

class Image : public Entity {
 public:
  Image() : Entity(ObjectKind::kImage) {}
  Point3 point;                   // 10/20/30
  Handle image_def = kNoHandle;   // 340
  Handle image_def_reactor = kNoHandle;  // 360
  double width_pixels = 0.0;      // 13
  double height_pixels = 0.0;     // 23
  int32_t display_flags = 0;      // 70
};

class ImageDef : public Object {
 public:
  ImageDef() : Object(ObjectKind::kImageDef) {}
  std::string_view path;          // 1
  double width_pixels = 0.0;      // 10
  double height_pixels = 0.0;     // 20
  bool loaded = true;             // 280
};

class Layout : public Object {
 public:
  Layout() : Object(ObjectKind::kLayout) {}
  std::string_view name;          // 1
  int32_t flags = 0;              // 70
  int32_t tab_order = 0;          // 71
  Handle block_record_handle = kNoHandle;  // 330 in the AcDbLayout part
  BlockRecord* block_record = nullptr;
  Block* block = nullptr;

  bool is_model() const;
};

class Dictionary : public Object {
 public:
  Dictionary() : Object(ObjectKind::kDictionary) {}
  struct Entry {
    std::string_view name;        // 3
    Handle handle = kNoHandle;    // 350 or 360
    bool hard_owner = false;      // 360
  };
  std::vector<Entry> entries;
  Handle Find(std::string_view name) const;
};

}  // namespace vantrove::engine
