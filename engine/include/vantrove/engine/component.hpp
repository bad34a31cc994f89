#pragma once
// The drawing component: holds at most one open drawing and offers the
// operations the automation class drives. Every operation leaves a status
// (CurrentStatus): a stable code and a plain-English message. LastStatus
// gives it as the component's status text, exactly "1000:Ok" after success,
// otherwise "NNNN:message".
//
// No operation throws; failures are reported through the status only.

#include <cstdint>
#include <memory>
#include <string>

#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

class Document;

// Version codes accepted by SaveAs and WriteDxf.
enum VersionCode : int32_t {
  kVersionKeep = -1,
  kVersion2018 = 2018,
  kVersion2013 = 2013,
  kVersion2010 = 2010,
  kVersion2007 = 2007,
  kVersion2004 = 2004,
  kVersion2000 = 2000,
  kVersionR14 = 14,
  kVersionR12 = 12,
  kVersionR11 = 11,
  kVersionR10 = 10,
};

class DrawingComponent {
 public:
  DrawingComponent();
  ~DrawingComponent();
  DrawingComponent(const DrawingComponent&) = delete;
  DrawingComponent& operator=(const DrawingComponent&) = delete;

  // Opens a DWG or DXF file. `result` becomes a positive number on success
  // and stays <= 0 on failure.
  void OpenDrawing(int32_t& result, const std::string& path, const std::string& password);
  void CloseDrawing();
  // Writes the XML description; each flag 1 asks for that section.
  void WriteXmlDescription(const std::string& path, int32_t blocks, int32_t attributeDefinitions,
                           int32_t externalReferences, int32_t layers, int32_t layouts,
                           int32_t systemVariables, int32_t images, int32_t text);
  // The status of the last operation.
  const Status& CurrentStatus() const;
  // The same status as text: "1000:Ok" or "NNNN:message".
  void LastStatus(std::string& status) const;
  void SaveAs(const std::string& path, int32_t version);
  void WriteDxf(const std::string& path, int32_t precision, int32_t version);
  void SetAttributeValue(const std::string& value, const std::string& handle);
  void SetXrefPath(const std::string& path, const std::string& name);
  void SetImagePath(const std::string& path, const std::string& handle);
  void SetLayerState(const std::string& name, int32_t state, int32_t mode);
  void SetTextValue(const std::string& text, const std::string& handle);
  void DeleteObject(const std::string& handle);

  // The open drawing, or nullptr. For tools built on the engine itself.
  const Document* document() const;

  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

// Full path of the loaded engine module file (the shared library that holds
// this code), or "" when it cannot be determined.
std::string ModuleFile();

}  // namespace vantrove::engine
