// The drawing methods: open, close, save, export and single edits by handle.
// Each hands one request to the drawing component with errors suppressed
// (a failing step is skipped) and reports the component's status.
#include <initializer_list>
#include <utility>

#include "../component/boundary.hpp"
#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"

namespace vantrove {

namespace {

constexpr const char* kOkStatus = "1000:Ok";

// Converts each argument in place, from the last to the first, as the twins
// do before calling the component. False when any conversion failed; the
// others are still converted.
bool ConvertInPlace(std::initializer_list<std::pair<Variant*, VarType>> args) {
  bool ok = true;
  for (auto it = std::rbegin(args); it != std::rend(args); ++it) {
    try {
      *it->first = ConvertTo(*it->first, it->second);
    } catch (...) {
      ok = false;
    }
  }
  return ok;
}

const std::string& Text(const Variant& v) { return v.str(); }
int32_t Number(const Variant& v) { return *v.get_if<int32_t>(); }

}  // namespace

std::string clsVantrove::StatusStep() {
  std::string first;
  detail::Trapped([&] {
    if (!component_) Raise(err::kObjectNotSet);
    component_->LastStatus(first);
  });
  if (first == kOkStatus) return "OK";
  // The status is read a second time on this path; its text is the answer.
  std::string second;
  detail::Trapped([&] {
    if (!component_) Raise(err::kObjectNotSet);
    component_->LastStatus(second);
  });
  return second;
}

template <class Operation>
std::string clsVantrove::DrawingOperation(Operation&& op) {
  detail::Trapped([&] {
    if (!component_) Raise(err::kObjectNotSet);
    op(*component_);
  });
  return StatusStep();
}

// ---- Lifecycle -----------------------------------------------------------------

std::string clsVantrove::OpenWith(const std::string& file, const std::string& password, bool web) {
  Variant path(file);
  if (!FileExists(path)) return "File not found";
  std::string extension;
  detail::Trapped([&] {
    extension = LCase(Right(file, 4));
  });
  if (extension != ".dwg" && extension != ".dxf") return "Invalid file type - must be DWG or DXF";
  std::string folder;
  detail::Trapped([&] {
    folder = GetSpecialFolderPath(37);
  });
  if (componentMissing_) {
    if (web) return "File " + folder + "\\DTOOLSXDWG2007.DLL not found. Please reinstall Vantrove DLL.";
    CurrentMessageSink().Show("Missing DLL File",
                              "File " + folder + "\\DTOOLSXDWG2007.DLL not found.\r\nPlease reinstall Vantrove DLL.",
                              kExclamationStyle);
    return "";
  }
  int32_t result = 0;
  detail::Trapped([&] {
    if (!component_) Raise(err::kObjectNotSet);
    component_->OpenDrawing(result, file, password);
  });
  if (result > 0) {
    drawingOpen_ = true;
    return "OK";
  }
  drawingOpen_ = false;
  std::string status;
  detail::Trapped([&] {
    if (!component_) Raise(err::kObjectNotSet);
    component_->LastStatus(status);
  });
  return status;
}

std::string clsVantrove::OpenDrawing(std::string strFile, const std::string& strPassword) {
  return OpenWith(StripAtNull(strFile), strPassword, false);
}

std::string clsVantrove::Web_OpenDrawing(Variant strFile, Variant& strPassword) {
  std::string file, password;
  detail::Trapped([&] {
    file = StripAtNull(CStr(strFile));
  });
  detail::Trapped([&] {
    password = CStr(strPassword);
  });
  return OpenWith(file, password, true);
}

std::string clsVantrove::CloseDrawing() {
  detail::Trapped([&] {
    if (!component_) Raise(err::kObjectNotSet);
    component_->CloseDrawing();
  });
  drawingOpen_ = false;
  return StatusStep();
}

std::string clsVantrove::Web_CloseDrawing() { return CloseDrawing(); }

std::string clsVantrove::SaveDrawing(const std::string& strDWGfile, SaveAutoCADversionType lngVersion) {
  return DrawingOperation([&](engine::DrawingComponent& c) { c.SaveAs(strDWGfile, lngVersion); });
}

std::string clsVantrove::Web_SaveDrawing(Variant& strDWGfile, Variant& lngVersion) {
  if (!ConvertInPlace({{&strDWGfile, VarType::String}, {&lngVersion, VarType::Long}})) return StatusStep();
  return DrawingOperation([&](engine::DrawingComponent& c) { c.SaveAs(Text(strDWGfile), Number(lngVersion)); });
}

// ---- Export --------------------------------------------------------------------------

std::string clsVantrove::CreateDXF(const std::string& strDXFfile, int16_t intPrecision, AutoCADversionType lngVersion) {
  if (intPrecision < 0 || intPrecision > 16) intPrecision = 0;
  return DrawingOperation([&](engine::DrawingComponent& c) { c.WriteDxf(strDXFfile, intPrecision, lngVersion); });
}

std::string clsVantrove::Web_CreateDXF(Variant& strDXFfile, Variant intPrecision, Variant& lngVersion) {
  // The range test leaves a Null (and anything that is not a number) alone;
  // the conversion below then fails and the component is not called.
  detail::Trapped([&] {
    if (!intPrecision.IsNull()) {
      const double p = CDbl(intPrecision);
      if (p < 0 || p > 16) intPrecision = Variant(int16_t{0});
    }
  });
  if (!ConvertInPlace({{&strDXFfile, VarType::String}, {&intPrecision, VarType::Long}, {&lngVersion, VarType::Long}})) {
    return StatusStep();
  }
  return DrawingOperation([&](engine::DrawingComponent& c) {
    c.WriteDxf(Text(strDXFfile), Number(intPrecision), Number(lngVersion));
  });
}

std::string clsVantrove::CreateXML(const std::string& strXMLFile, int16_t intBlocks, int16_t intAttributeDefinitions,
                                   int16_t intExternalReferences, int16_t intLayers, int16_t intLayouts,
                                   int16_t intSystemVariables, int16_t intImages, int16_t intText) {
  return DrawingOperation([&](engine::DrawingComponent& c) {
    c.WriteXmlDescription(strXMLFile, intBlocks, intAttributeDefinitions, intExternalReferences, intLayers, intLayouts,
                          intSystemVariables, intImages, intText);
  });
}

std::string clsVantrove::Web_CreateXML(Variant& strXMLFile, Variant& intBlocks, Variant& intAttributeDefinitions,
                                       Variant& intExternalReferences, Variant& intLayers, Variant& intLayouts,
                                       Variant& intSystemVariables, Variant& intImages, Variant& intText) {
  if (!ConvertInPlace({{&strXMLFile, VarType::String},
                       {&intBlocks, VarType::Long},
                       {&intAttributeDefinitions, VarType::Long},
                       {&intExternalReferences, VarType::Long},
                       {&intLayers, VarType::Long},
                       {&intLayouts, VarType::Long},
                       {&intSystemVariables, VarType::Long},
                       {&intImages, VarType::Long},
                       {&intText, VarType::Long}})) {
    return StatusStep();
  }
  return DrawingOperation([&](engine::DrawingComponent& c) {
    c.WriteXmlDescription(Text(strXMLFile), Number(intBlocks), Number(intAttributeDefinitions),
                          Number(intExternalReferences), Number(intLayers), Number(intLayouts),
                          Number(intSystemVariables), Number(intImages), Number(intText));
  });
}

// ---- Edits by handle --------------------------------------------------------------

std::string clsVantrove::DeleteObject(const std::string& strTextHandle) {
  return DrawingOperation([&](engine::DrawingComponent& c) { c.DeleteObject(strTextHandle); });
}

std::string clsVantrove::Web_DeleteObject(Variant& strTextHandle) {
  if (!ConvertInPlace({{&strTextHandle, VarType::String}})) return StatusStep();
  return DeleteObject(Text(strTextHandle));
}

std::string clsVantrove::UpdateBlockAttribute(const std::string& strAttributeValue,
                                              const std::string& strAttributeHandle) {
  return DrawingOperation(
      [&](engine::DrawingComponent& c) { c.SetAttributeValue(strAttributeValue, strAttributeHandle); });
}

std::string clsVantrove::Web_UpdateBlockAttribute(Variant& strAttributeValue, Variant& strAttributeHandle) {
  if (!ConvertInPlace({{&strAttributeValue, VarType::String}, {&strAttributeHandle, VarType::String}})) {
    return StatusStep();
  }
  return UpdateBlockAttribute(Text(strAttributeValue), Text(strAttributeHandle));
}

std::string clsVantrove::UpdateText(const std::string& strTextValue, const std::string& strTextHandle) {
  return DrawingOperation([&](engine::DrawingComponent& c) { c.SetTextValue(strTextValue, strTextHandle); });
}

std::string clsVantrove::Web_UpdateText(Variant& strTextValue, Variant& strTextHandle) {
  if (!ConvertInPlace({{&strTextValue, VarType::String}, {&strTextHandle, VarType::String}})) return StatusStep();
  return UpdateText(Text(strTextValue), Text(strTextHandle));
}

std::string clsVantrove::SetImagePath(const std::string& strImageFile, const std::string& strImageHandle) {
  return DrawingOperation([&](engine::DrawingComponent& c) { c.SetImagePath(strImageFile, strImageHandle); });
}

std::string clsVantrove::Web_SetImagePath(Variant& strImageFile, Variant& strImageHandle) {
  if (!ConvertInPlace({{&strImageFile, VarType::String}, {&strImageHandle, VarType::String}})) return StatusStep();
  return SetImagePath(Text(strImageFile), Text(strImageHandle));
}

std::string clsVantrove::SetLayerState(const std::string& strLayerName, LayerStateType lngState,
                                       LayerModeType lngMode) {
  return DrawingOperation([&](engine::DrawingComponent& c) { c.SetLayerState(strLayerName, lngState, lngMode); });
}

std::string clsVantrove::Web_SetLayerState(Variant& strLayerName, Variant& lngState, Variant& lngMode) {
  if (!ConvertInPlace({{&strLayerName, VarType::String}, {&lngState, VarType::Long}, {&lngMode, VarType::Long}})) {
    return StatusStep();
  }
  return SetLayerState(Text(strLayerName), static_cast<LayerStateType>(Number(lngState)),
                       static_cast<LayerModeType>(Number(lngMode)));
}

std::string clsVantrove::SetReferenceFilePath(const std::string& strReferenceFilePath,
                                              const std::string& strReferenceName) {
  return DrawingOperation(
      [&](engine::DrawingComponent& c) { c.SetXrefPath(strReferenceFilePath, strReferenceName); });
}

std::string clsVantrove::Web_SetReferenceFilePath(Variant& strReferenceFilePath, Variant& strReferenceName) {
  if (!ConvertInPlace({{&strReferenceFilePath, VarType::String}, {&strReferenceName, VarType::String}})) {
    return StatusStep();
  }
  return SetReferenceFilePath(Text(strReferenceFilePath), Text(strReferenceName));
}

}  // namespace vantrove
