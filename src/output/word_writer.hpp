#pragma once
// Internal: arrays into Word tables, the way the Word writer's steps go, on
// our own documents held by the object's office application.

#include <cstdint>
#include <string>

#include "office_app.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::office {

struct WordRequest {
  std::string document;  // a file to open; a new document when it does not exist
  bool save = false;
  bool close = false;
  int32_t tableType = 0;
  bool bold = false;
  std::string font = "Times New Roman";
  double size = 12;
  double spaceAfter = 10;
  int32_t paragraphAlign = 0;
  double columnWidth = 0;
  docx::TableFlags flags;
  int32_t pageOrientation = 0;
};

// TwoDArrayToWord's work (one row per element and one column when
// `oneDimensional`): 1 done; -2 no array. Raises for anything else.
int16_t ArrayToWord(Application& app, const Variant& varArray, bool oneDimensional, const WordRequest& request,
                    const FileTest& fileExists);

}  // namespace vantrove::office
