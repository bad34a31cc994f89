#pragma once
// The type data of the non-entity records of a DWG 2000 file encoded from
// the drawing model: table entries, dictionaries, layouts, image
// definitions and their reactors.

#include <cstdint>
#include <functional>
#include <string_view>
#include <unordered_set>

#include "dwg/model_groups.hpp"
#include "dwg/object_writer.hpp"

namespace vantrove::engine::dwg {

// The common start of every table entry: name and external reference
// flags (the reference to the external block follows in the handles).
void WriteEntryStart(ObjectWriter& w, std::string_view name, int64_t flags);

void WriteLayer(ObjectWriter& w, const Layer& layer, uint64_t linetype);
void WriteLtype(ObjectWriter& w, const GroupView& g);
void WriteStyle(ObjectWriter& w, const GroupView& g);
void WriteAppid(ObjectWriter& w, const GroupView& g);

// DICTIONARY (also the one with a default entry, written as a plain
// dictionary): the entries whose objects are written.
void WriteDictionary(ObjectWriter& w, const Dictionary& dict, const GroupView& g,
                     const std::unordered_set<uint64_t>& written);
void WriteLayout(ObjectWriter& w, const Layout& layout, const GroupView& g, uint64_t blockRecord);
void WriteImageDef(ObjectWriter& w, const GroupView& g);
// XRECORD: its items as (code, value) pairs in bytes, then the cloning flag.
void WriteXrecord(ObjectWriter& w, const GroupView& g);

void WriteDictionaryVar(ObjectWriter& w, const GroupView& g);
void WriteRasterVariables(ObjectWriter& w, const GroupView& g);
// GROUP: its members that are written.
void WriteGroup(ObjectWriter& w, const GroupView& g, const std::unordered_set<uint64_t>& written);
// MLINESTYLE: element line types other than by block are written by layer.
void WriteMlineStyle(ObjectWriter& w, const GroupView& g);

// Line weight (hundredths of a millimetre, -1 by layer, -2 by block, -3
// default) as the index the format stores.
uint8_t LineweightIndex(int64_t weight);

}  // namespace vantrove::engine::dwg
