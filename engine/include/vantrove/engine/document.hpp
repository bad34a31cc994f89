#pragma once
// The drawing model: one open drawing with all its objects.
//
// How a reader fills it (the DXF reader does exactly this; the DWG reader
// does the same with the records it decodes):
//  1. Set `format`, `version` ($ACADVER text, e.g. "AC1032"), `codepage`
//     and `source_path`. Text handed to the model is UTF-8.
//  2. Keep the bytes that views point into alive with AdoptBuffer, or copy
//     text into the arena with StoreText.
//  3. Add header variables to `header`, in file order (their groups stored
//     with StoreGroups).
//  4. Make each record with New<T>() as its typed class (Layer, Block,
//     Insert, ...) or as a plain Object/Entity for anything else: New
//     places it in the object arena, in file order, and assigns element_id.
//     Fill its fields and give it its source form: SetGroups (a copy goes to
//     the group pool), or SetPendingForm when the reader's SourceDecoder
//     (SetSourceDecoder) can produce the groups later from what it kept.
//     Then put it where it belongs: CLASS records in `classes`, table
//     entries in their `tables` entry, BLOCK/ENDBLK and the entities between
//     them in `blocks` (Block::entities, Block::end), ENTITIES-section
//     entities in `entities`, OBJECTS-section records in `objects_section`.
//     ATTRIB and SEQEND stay in the entity lists in file order; the reader
//     also records them in Insert::attribs / Insert::seqend.
//  5. Call Finish(): it indexes handles, gives handles to records that had
//     none, links block records, blocks, layouts and image definitions,
//     attaches ENTITIES-section entities to their layout block, and adds the
//     defaults a drawing always has when the file lacks them (layer "0",
//     *Model_Space and *Paper_Space blocks, the Model and Layout1 layouts).
//
// Source forms: Groups(object) is the one way to an object's groups. A
// pending form is decoded on the first call and kept (the span stays valid
// for the life of the document, until SetGroups replaces it), so extraction
// and the description, which read only typed fields, never pay for groups.
// Edits call SettleSourceForms() before they change a field, because a
// decoder may build groups from the typed fields (the DWG reader does).
// A Document is used by one thread at a time; Groups() on a const Document
// may store the decoded groups.

#include <cstddef>
#include <cstdint>
#include <new>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vantrove/engine/groups.hpp"
#include "vantrove/engine/handle.hpp"
#include "vantrove/engine/objects.hpp"

namespace vantrove::engine {

enum class DrawingFormat : uint8_t { kNone, kDxfAscii, kDxfBinary, kDwg };

struct HeaderVariable {
  std::string_view name;   // "$ACADVER"
  GroupSpan values;        // the groups after the 9 group, in order
};

// One symbol table (LAYER, LTYPE, STYLE, BLOCK_RECORD, ...).
struct Table {
  std::string_view name;          // "LAYER"
  Object* head = nullptr;         // the TABLE record (its groups hold the table's own data)
  std::vector<Object*> records;   // entries in file order (typed where known)
  Object* end = nullptr;          // ENDTAB
};

// A section the engine does not interpret (THUMBNAILIMAGE, ACDSDATA, ...).
struct RawSection {
  std::string_view name;
  GroupSpan groups;               // everything between the name and ENDSEC
};

class Document {
 public:
  Document();
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // --- what was read -------------------------------------------------
  std::string source_path;
  DrawingFormat format = DrawingFormat::kNone;
  std::string version;            // $ACADVER, "AC1009" .. "AC1032"
  std::string codepage;           // $DWGCODEPAGE as written, e.g. "ANSI_1252"
  std::vector<std::string> warnings;  // what was repaired or skipped while reading
  // DWG R13 to 2000: the parts of the file a writer of the same version
  // copies as they were read, by name ("PREFIX": everything before the
  // objects, "OBJFREESPACE", "SECONDHEADER", "TEMPLATE"); views into the
  // text arena.
  std::vector<std::pair<std::string_view, std::string_view>> dwg_sections;

  // --- storage -------------------------------------------------------
  std::string_view StoreText(std::string_view text) { return text_.Store(text); }
  TextArena& text_arena() { return text_; }
  GroupSpan StoreGroups(GroupSpan groups) { return groups_.Store(groups); }
  void AdoptBuffer(std::unique_ptr<char[]> buffer) { buffers_.push_back(std::move(buffer)); }

  // Makes a record in the object arena (no heap record of its own) and
  // assigns element_id (the reading position). It lives as long as the
  // document.
  template <class T, class... Args>
  T* New(Args&&... args) {
    static_assert(alignof(T) <= alignof(std::max_align_t));
    T* object = new (objects_.Allocate(sizeof(T), alignof(T))) T(std::forward<Args>(args)...);
    object->in_arena_ = true;
    Keep(object);
    return object;
  }
  // Takes ownership of a record made elsewhere; assigns element_id.
  template <class T>
  T* Add(std::unique_ptr<T> object) {
    T* raw = object.release();
    Keep(raw);
    return raw;
  }
  // Every record, in reading order (element_id is the index).
  const std::vector<Object*>& all_objects() const { return all_; }

  // --- source forms (see the note at the top) ---------------------------
  // Produces pending source forms for a reader.
  class SourceDecoder {
   public:
    virtual ~SourceDecoder() = default;
    // The groups of `object`, whose pending form is `offset`/`size` as the
    // reader gave them to SetPendingForm. The span needs to stay valid only
    // until the next call; the document stores a copy. A decoder may also
    // store forms itself with SetGroups (on this and other objects).
    virtual GroupSpan Decode(Document& document, const Object& object, uint32_t offset, uint32_t size) = 0;
    // Stores every form that depends on typed fields, before an edit.
    virtual void Settle(Document&) {}
  };
  void SetSourceDecoder(std::unique_ptr<SourceDecoder> decoder) { decoder_ = std::move(decoder); }
  void SetPendingForm(Object& object, uint32_t offset, uint32_t size) {
    object.form_.offset = offset;
    object.form_size_ = size;
    object.form_pending_ = true;
  }
  // The object's source form, in order (decoded now if pending).
  GroupSpan Groups(const Object& object) const {
    if (object.form_pending_) Materialize(object);
    return {object.form_.groups, object.form_size_};
  }
  // Replaces the source form with a copy of `groups`.
  void SetGroups(Object& object, GroupSpan groups) { Store(object, groups); }
  void SettleSourceForms() {
    if (decoder_) decoder_->Settle(*this);
  }

  // --- structure, in file order --------------------------------------
  std::vector<std::string_view> section_order;  // "HEADER", "CLASSES", ... as met
  std::vector<HeaderVariable> header;
  std::vector<Object*> classes;
  std::vector<Table> tables;
  std::vector<Block*> blocks;
  std::vector<Entity*> entities;          // the ENTITIES section
  std::vector<Object*> objects_section;   // the OBJECTS section
  std::vector<RawSection> raw_sections;

  // --- typed views, filled by Finish() --------------------------------
  std::vector<Layer*> layers;             // LAYER table order
  std::vector<BlockRecord*> block_records;
  std::vector<Layout*> layouts;           // sorted by tab order
  std::vector<ImageDef*> image_defs;

  // Links records and builds the handle index (see the note at the top).
  void Finish();

  // --- look-ups -------------------------------------------------------
  Object* Find(Handle handle) const;
  Object* Find(std::string_view hex_handle) const;
  const HeaderVariable* FindHeader(std::string_view name) const;
  // The first value of a header variable, or "" when absent.
  std::string_view HeaderText(std::string_view name) const;
  // Symbol names compare case-insensitively (ASCII), as the CAD program does.
  Layer* FindLayer(std::string_view name) const;
  Block* FindBlock(std::string_view name) const;
  Block* model_space() const { return model_space_; }
  // The paper space block of the active layout (its entities sit in the
  // ENTITIES section of a DXF file).
  Block* paper_space() const { return paper_space_; }
  // Layout that shows a block (model space, a paper space), or nullptr for
  // an ordinary block definition.
  Layout* LayoutOf(const Block* block) const;
  Handle next_handle() const { return next_handle_; }

 private:
  void Keep(Object* object) {
    object->element_id = static_cast<uint32_t>(all_.size());
    all_.push_back(object);
  }
  void Materialize(const Object& object) const;
  void Store(const Object& object, GroupSpan groups) const;
  void IndexHandles();
  Handle AssignHandle(Object* object);
  void LinkBlocks();
  void LinkLayouts();
  void AddMissingDefaults();

  TextArena text_;
  mutable GroupPool groups_;
  ObjectArena objects_;
  std::unique_ptr<SourceDecoder> decoder_;
  std::vector<std::unique_ptr<char[]>> buffers_;
  std::vector<Object*> all_;  // owned: arena records destroyed in place, others deleted
  HandleIndex handle_index_;
  std::unordered_map<std::string, Block*> blocks_by_name_;  // lower-case names
  Block* model_space_ = nullptr;
  Block* paper_space_ = nullptr;
  Handle next_handle_ = 1;
};

}  // namespace vantrove::engine
