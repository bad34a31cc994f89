#include "dxf_generator.hpp"

#include <cstdio>
#include <string>
#include <vector>

namespace vantrove::bench {

namespace {

class Out {
 public:
  explicit Out(std::FILE* file) : file_(file) {}
  ~Out() { Flush(); }
  void G(int code, const std::string& value) {
    char head[16];
    int n = std::snprintf(head, sizeof(head), "%3d\r\n", code);
    buffer_.append(head, static_cast<size_t>(n));
    buffer_ += value;
    buffer_ += "\r\n";
    if (buffer_.size() > (1u << 20)) Flush();
  }
  void G(int code, double value) {
    char text[32];
    int n = std::snprintf(text, sizeof(text), "%.6f", value);
    G(code, std::string(text, static_cast<size_t>(n)));
  }
  std::string H() {
    char text[24];
    std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(next_++));
    return text;
  }
  void Flush() {
    if (!buffer_.empty()) written_ += std::fwrite(buffer_.data(), 1, buffer_.size(), file_);
    buffer_.clear();
  }
  size_t written() const { return written_ + buffer_.size(); }

 private:
  std::FILE* file_;
  std::string buffer_;
  unsigned long long next_ = 0x100;
  size_t written_ = 0;
};

const char* kTags[8] = {"DWGNO", "TITLE", "SCALE", "DATE", "DRAWN", "CHECKED", "REV", "SHEET"};

}  // namespace

bool GenerateDxf(const std::string& path, size_t inserts, size_t texts, GeneratedDrawing& result) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  {
    Out o(file);
    auto section = [&](const char* name) {
      o.G(0, "SECTION");
      o.G(2, name);
    };
    section("HEADER");
    o.G(9, "$ACADVER");
    o.G(1, "AC1032");
    o.G(9, "$DWGCODEPAGE");
    o.G(3, "ANSI_1252");
    o.G(9, "$HANDSEED");
    o.G(5, "FFFFFFF");
    o.G(0, "ENDSEC");

    // Layers, block records (model, five paper spaces, title block).
    section("TABLES");
    o.G(0, "TABLE");
    o.G(2, "LAYER");
    o.G(5, "2");
    o.G(330, "0");
    o.G(100, "AcDbSymbolTable");
    for (int i = 0; i < 8; ++i) {
      o.G(0, "LAYER");
      o.G(5, o.H());
      o.G(330, "2");
      o.G(100, "AcDbSymbolTableRecord");
      o.G(100, "AcDbLayerTableRecord");
      o.G(2, i == 0 ? std::string("0") : "LAYER_" + std::to_string(i));
      o.G(70, i == 3 ? "1" : "0");
      o.G(62, i == 4 ? "-2" : "7");
      o.G(6, "Continuous");
    }
    o.G(0, "ENDTAB");
    const std::vector<std::string> spaces = {"*Model_Space", "*Paper_Space", "*Paper_Space0", "*Paper_Space1",
                                             "*Paper_Space2"};
    std::vector<std::string> record_handles;
    std::vector<std::string> layout_handles;
    o.G(0, "TABLE");
    o.G(2, "BLOCK_RECORD");
    o.G(5, "1");
    o.G(330, "0");
    o.G(100, "AcDbSymbolTable");
    for (size_t i = 0; i <= spaces.size(); ++i) {
      record_handles.push_back(o.H());
      layout_handles.push_back(o.H());
      o.G(0, "BLOCK_RECORD");
      o.G(5, record_handles.back());
      o.G(330, "1");
      o.G(100, "AcDbSymbolTableRecord");
      o.G(100, "AcDbBlockTableRecord");
      o.G(2, i < spaces.size() ? spaces[i] : std::string("TITLEBLOCK"));
      o.G(340, i < spaces.size() ? layout_handles.back() : std::string("0"));
    }
    o.G(0, "ENDTAB");
    o.G(0, "ENDSEC");

    auto entity_head = [&](const char* type, const std::string& owner, const std::string& layer, bool paper) {
      o.G(0, type);
      const std::string handle = o.H();
      o.G(5, handle);
      o.G(330, owner);
      o.G(100, "AcDbEntity");
      if (paper) o.G(67, "1");
      o.G(8, layer);
      return handle;
    };
    // Entities of one space: references with attributes, TEXT and MTEXT.
    size_t insert_counter = 0;
    size_t text_counter = 0;
    auto fill_space = [&](size_t space, size_t n_inserts, size_t n_texts) {
      const bool paper = space > 0;
      const std::string& owner = record_handles[space];
      for (size_t i = 0; i < n_inserts; ++i, ++insert_counter) {
        const std::string layer = "LAYER_" + std::to_string(1 + insert_counter % 7);
        const std::string insert = entity_head("INSERT", owner, layer, paper);
        o.G(100, "AcDbBlockReference");
        o.G(66, "1");
        o.G(2, "TITLEBLOCK");
        o.G(10, static_cast<double>(insert_counter % 1000) * 500.0);
        o.G(20, static_cast<double>(insert_counter / 1000) * 400.0);
        o.G(30, 0.0);
        for (int a = 0; a < 8; ++a) {
          entity_head("ATTRIB", insert, "0", paper);
          o.G(100, "AcDbText");
          o.G(10, static_cast<double>(insert_counter % 1000) * 500.0 + 10.0);
          o.G(20, static_cast<double>(insert_counter / 1000) * 400.0 + 10.0 * a);
          o.G(30, 0.0);
          o.G(40, 2.5);
          o.G(1, std::string(kTags[a]) + " value " + std::to_string(insert_counter));
          o.G(100, "AcDbAttribute");
          o.G(2, kTags[a]);
          o.G(70, "0");
        }
        entity_head("SEQEND", insert, "0", paper);
      }
      for (size_t i = 0; i < n_texts; ++i, ++text_counter) {
        const bool mtext = text_counter % 2 == 1;
        entity_head(mtext ? "MTEXT" : "TEXT", owner, "0", paper);
        o.G(100, mtext ? "AcDbMText" : "AcDbText");
        o.G(10, static_cast<double>(text_counter % 2000) * 10.0);
        o.G(20, static_cast<double>(text_counter / 2000) * 10.0);
        o.G(30, 0.0);
        o.G(40, 2.5);
        if (mtext) {
          o.G(1, "{\\fArial|b1;Room} " + std::to_string(text_counter) + "\\Psecond line");
        } else {
          o.G(1, "Note number " + std::to_string(text_counter));
          o.G(100, "AcDbText");
        }
      }
    };
    const size_t model_inserts = inserts * 4 / 5;
    const size_t model_texts = texts * 4 / 5;
    const size_t paper_inserts = (inserts - model_inserts) / 4;
    const size_t paper_texts = (texts - model_texts) / 4;

    section("BLOCKS");
    for (size_t i = 0; i <= spaces.size(); ++i) {
      const bool paper = i > 0 && i < spaces.size();
      entity_head("BLOCK", record_handles[i], "0", paper);
      o.G(100, "AcDbBlockBegin");
      o.G(2, i < spaces.size() ? spaces[i] : std::string("TITLEBLOCK"));
      o.G(70, i < spaces.size() ? "0" : "2");
      o.G(10, 0.0);
      o.G(20, 0.0);
      o.G(30, 0.0);
      if (i >= 2 && i < spaces.size()) fill_space(i, paper_inserts, paper_texts);  // inactive layouts
      if (i == spaces.size()) {
        for (int a = 0; a < 8; ++a) {
          entity_head("ATTDEF", record_handles[i], "0", false);
          o.G(100, "AcDbText");
          o.G(10, 10.0);
          o.G(20, 10.0 * a);
          o.G(30, 0.0);
          o.G(40, 2.5);
          o.G(1, "");
          o.G(100, "AcDbAttributeDefinition");
          o.G(3, std::string("Enter ") + kTags[a]);
          o.G(2, kTags[a]);
          o.G(70, "0");
        }
      }
      entity_head("ENDBLK", record_handles[i], "0", paper);
      o.G(100, "AcDbBlockEnd");
    }
    o.G(0, "ENDSEC");

    section("ENTITIES");
    fill_space(0, model_inserts, model_texts);
    fill_space(1, paper_inserts + (inserts - model_inserts) % 4, paper_texts + (texts - model_texts) % 4);
    o.G(0, "ENDSEC");

    section("OBJECTS");
    o.G(0, "DICTIONARY");
    o.G(5, "C");
    o.G(330, "0");
    o.G(100, "AcDbDictionary");
    o.G(3, "ACAD_LAYOUT");
    o.G(350, "D");
    o.G(0, "DICTIONARY");
    o.G(5, "D");
    o.G(330, "C");
    o.G(100, "AcDbDictionary");
    for (size_t i = 0; i < spaces.size(); ++i) {
      o.G(3, i == 0 ? std::string("Model") : "Layout" + std::to_string(i));
      o.G(350, layout_handles[i]);
    }
    for (size_t i = 0; i < spaces.size(); ++i) {
      o.G(0, "LAYOUT");
      o.G(5, layout_handles[i]);
      o.G(330, "D");
      o.G(100, "AcDbPlotSettings");
      o.G(1, "");
      o.G(100, "AcDbLayout");
      o.G(1, i == 0 ? std::string("Model") : "Layout" + std::to_string(i));
      o.G(70, "1");
      o.G(71, std::to_string(i));
      o.G(330, record_handles[i]);
    }
    o.G(0, "ENDSEC");
    o.G(0, "EOF");
    o.Flush();
    result.bytes = o.written();
  }
  const bool ok = std::fclose(file) == 0;
  result.inserts = inserts;
  result.attributes = inserts * 8;
  result.texts = texts;
  return ok;
}

}  // namespace vantrove::bench
