#pragma once
// What the DWG reader decodes from a drawing, before it fills the drawing
// model: the classes, and one record per object with its common data, the
// typed fields of the types the description needs, and its source bytes.

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "dwg/bit_reader.hpp"
#include "dwg/container.hpp"
#include "model/record_encoder.hpp"

namespace vantrove::engine::dwg {

// Fixed object type numbers (types >= 500 come from the class list).
enum ObjectType : uint16_t {
  kTypeText = 0x01,
  kTypeAttrib = 0x02,
  kTypeAttdef = 0x03,
  kTypeBlock = 0x04,
  kTypeEndblk = 0x05,
  kTypeSeqend = 0x06,
  kTypeInsert = 0x07,
  kTypeMinsert = 0x08,
  kTypeLine = 0x13,
  kTypeDictionary = 0x2A,
  kTypeMText = 0x2C,
  kTypeBlockControl = 0x30,
  kTypeBlockHeader = 0x31,
  kTypeLayerControl = 0x32,
  kTypeLayer = 0x33,
  kTypeGroup = 0x48,
  kTypeMlineStyle = 0x49,
  kTypeLwPolyline = 0x4D,
  kTypeHatch = 0x4E,
  kTypeXrecord = 0x4F,
  kTypeLayout = 0x52,
};

struct ClassInfo {
  uint16_t number = 0;
  uint16_t proxyFlags = 0;
  std::string appName;
  std::string cppName;
  std::string dxfName;
  bool wasZombie = false;
  bool isEntity = false;
};

struct TextData {         // TEXT, and the text part of ATTRIB/ATTDEF
  Point3 insertion;
  Point3 alignment;
  double height = 0, rotation = 0, widthFactor = 1, oblique = 0;
  uint16_t horizontalAlign = 0, verticalAlign = 0, generation = 0;
  std::string value;
  // ATTRIB / ATTDEF
  std::string tag;
  std::string prompt;     // ATTDEF only
  uint8_t flags = 0;      // 1 invisible, 2 constant, 4 verify, 8 preset
  uint8_t attribType = 0; // 2018+: 1 single line, 2 multi-line ATTRIB, 4 multi-line ATTDEF
  std::string mtextValue; // multi-line: the text of the embedded MTEXT
  bool lockPosition = false;
  uint64_t style = 0;
};

struct InsertData {       // INSERT and MINSERT
  Point3 insertion;
  Point3 scale{1, 1, 1};
  double rotation = 0;
  Point3 extrusion{0, 0, 1};
  bool hasAttribs = false;
  uint16_t columns = 1, rows = 1;
  double columnSpacing = 0, rowSpacing = 0;
  uint64_t blockHeader = 0;
  std::vector<uint64_t> attribs;   // ATTRIB handles in order
  uint64_t firstAttrib = 0, lastAttrib = 0, seqend = 0;
};

struct MTextData {
  Point3 insertion;
  Point3 xAxis{1, 0, 0};
  double rectWidth = 0, textHeight = 0;
  uint16_t attachment = 0, drawingDirection = 0;
  std::string text;
  uint64_t style = 0;
};

struct ImageData {        // IMAGE
  Point3 origin;
  Point3 uVector, vVector;
  Point2 size;
  uint16_t displayProperties = 0;
  bool clipping = false;
  uint8_t brightness = 50, contrast = 50, fade = 0;
  uint64_t imageDef = 0;
  uint64_t imageDefReactor = 0;
};

struct ImageDefData {
  Point2 size;
  std::string filePath;
  bool loaded = false;
  uint8_t resolutionUnits = 0;
  Point2 pixelSize;
};

struct BlockData {        // BLOCK entity
  std::string name;
};

struct BlockHeaderData {
  std::string name;
  bool anonymous = false, hasAttribs = false, isXref = false, isOverlay = false, loaded = false;
  bool xrefDependent = false;
  Point3 basePoint;
  std::string xrefPath;
  std::string description;
  uint64_t blockEntity = 0, endblkEntity = 0;
  uint64_t firstEntity = 0, lastEntity = 0;  // R13-R2000 entity chain
  std::vector<uint64_t> entities;            // 2004+ owned entities
  uint64_t layout = 0;
};

struct LayerData {
  std::string name;
  bool frozen = false, on = true, frozenInNew = false, locked = false, plot = true;
  bool xrefDependent = false;
  int16_t color = 7;        // colour index (positive)
  uint32_t trueColor = 0;   // 0xC2RRGGBB when the layer has an RGB colour
  int16_t lineWeight = -3;
  uint64_t lineType = 0;
};

struct LayoutData {
  std::string name;
  uint16_t tabOrder = 0;
  uint16_t flags = 0;
  uint64_t blockRecord = 0;
  std::string pageSetupName;
  std::string plotConfig;
  std::string paperSize;
};

struct DictionaryData {
  std::vector<std::pair<std::string, uint64_t>> entries;
  uint8_t hardOwner = 0;
  uint16_t cloning = 0;
  uint64_t defaultEntry = 0;  // ACDBDICTIONARYWDFLT: the entry for names it lacks
};

struct TableEntryData {   // other table entries: only the name is decoded
  std::string name;
  bool xrefDependent = false;
};

// An entity decoded from its type's field list (LINE, CIRCLE, ARC, ...):
// the values by field name, as the DXF form writes them.
struct FieldData {
  types::FieldValues values;
  // Fields that name another record (a layer, style or block by name in
  // DXF) or point at one (a handle), resolved when the DXF form is built.
  // A group `code` other than 0 adds the handle to a run of groups; a
  // `slot` of 0 or more puts the name in that group of the run instead.
  struct Ref {
    std::string_view field;
    uint64_t handle = 0;
    bool byName = true;
    int32_t code = 0;
    int32_t slot = -1;
  };
  std::vector<Ref> refs;
};

struct ControlData {      // table control objects
  std::vector<uint64_t> entries;
  uint64_t modelSpace = 0, paperSpace = 0;  // BLOCK_CONTROL only
};

// An object of a class the reader has no decoder for, as a proxy record
// carries it: the class's own data bits (after the common part, in the
// file's format), the references after the common ones, and an entity's
// graphics as stored.
struct ProxyData {
  uint16_t classId = 0;                 // the class number (500 and up)
  std::vector<uint8_t> graphics;        // entity graphics, as stored
  std::vector<uint8_t> data;            // data bits, most significant first
  size_t dataBits = 0;
  std::vector<std::pair<uint8_t, uint64_t>> ids;  // reference code, absolute handle
};

// An XRECORD: its data bytes, whose items are known to fit them exactly
// (they become groups when the DXF form is built).
struct XrecordData {
  std::string data;
  bool utf16 = false;       // text in the items is UTF-16 (2007 and later)
  bool hasCloning = false;  // 2000 and later
  uint16_t cloning = 1;
};

using ObjectPayload = std::variant<std::monostate, TextData, InsertData, MTextData, ImageData, ImageDefData,
                                   BlockData, BlockHeaderData, LayerData, LayoutData, DictionaryData, ControlData, TableEntryData,
                                   FieldData, ProxyData, XrecordData>;

struct ObjectRecord {
  uint64_t handle = 0;
  uint16_t type = 0;
  std::string dxfName;      // "TEXT", "LAYOUT", ... ("" when unknown)
  bool isEntity = false;
  size_t index = 0;         // position in the object map (handle order)
  size_t offset = 0;        // where the object starts in its section
  // Source form: the object's bytes from its size prefix to its check value
  // inclusive, so that a writer can copy untouched objects as they came
  // (a view into the objects section, which the container owns).
  std::span<const uint8_t> raw;
  std::vector<uint8_t> extendedData;  // EED block as stored (size, app handle, bytes)...
  // Common data.
  uint64_t owner = 0;
  std::vector<uint64_t> reactors;
  uint64_t xdictionary = 0;
  // Entities.
  uint8_t entityMode = 0;   // 0 owner given, 1 paper space, 2 model space
  uint64_t layer = 0;
  int16_t color = 256;
  bool invisible = false;
  uint64_t prevEntity = 0, nextEntity = 0;  // R13-R2000 links
  bool noLinks = false;
  // Decoding state.
  bool commonOk = false;    // the common part decoded
  bool dataOk = false;      // the typed part decoded
  bool crcOk = false;       // the stored check value matches
  ObjectPayload payload;
};

struct DecodedDrawing {
  Container container;
  std::vector<ClassInfo> classes;
  std::vector<ObjectRecord> objects;           // in object map order
  std::map<uint64_t, size_t> byHandle;         // handle -> index in objects
  size_t failedObjects = 0;                    // objects whose common part failed
  size_t objectsPastEnd = 0;                   // objects the map places beyond the data read
  std::vector<std::string> warnings;

  const ObjectRecord* Find(uint64_t handle) const {
    auto it = byHandle.find(handle);
    return it == byHandle.end() ? nullptr : &objects[it->second];
  }
};

}  // namespace vantrove::engine::dwg
