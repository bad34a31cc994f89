#include "vantrove/engine/dwg_writer.hpp"

#include <map>
#include <new>

#include "dwg/container.hpp"
#include "dwg/dwg_from_model.hpp"
#include "dwg/object_encoder.hpp"
#include "dwg/r2004_parts.hpp"
#include "dwg/writer_r2000.hpp"
#include "dwg/writer_r2004.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/replacing_file.hpp"

namespace vantrove::engine {

namespace {

std::string_view SourcePart(const Document& doc, std::string_view name) {
  for (const auto& [key, bytes] : doc.dwg_sections) {
    if (key == name) return bytes;
  }
  return {};
}

std::string VersionLabel(int32_t code) {
  switch (code) {
    case kVersion2018: return "2018";
    case kVersion2013: return "2013";
    case kVersion2010: return "2010";
    case kVersion2007: return "2007";
    case kVersion2004: return "2004";
    case kVersion2000: return "2000";
    case kVersionR14: return "R14";
    case kVersionR12: return "R12";
    case kVersionR11: return "R11";
    case kVersionR10: return "R10";
    default: return std::to_string(code);
  }
}

// The DWG version a code asks for: "AC1015", or "" with `status` set.
std::string TargetVersion(const Document& doc, int32_t code, Status& status) {
  switch (code) {
    case kVersionKeep:
      if (doc.format == DrawingFormat::kDwg &&
          (doc.version == "AC1015" || doc.version == "AC1014" || doc.version == "AC1012" ||
           doc.version == "AC1018" || doc.version == "AC1024" || doc.version == "AC1027" ||
           doc.version == "AC1032")) {
        return doc.version;
      }
      if (doc.format != DrawingFormat::kDwg) {
        status = Status::Error(StatusCode::kDwgWriteNotSupported,
                               "Writing DWG files is not supported yet for a drawing read from DXF (choose the "
                               "version, e.g. 2000, or save it as DXF)");
      } else {
        status = Status::Error(StatusCode::kDwgWriteNotSupported,
                               "Writing DWG files of the drawing's own version (" + doc.version +
                                   ") is not supported yet (DWG 2018, 2013, 2010, 2004, 2000, R14 and R13 are written)");
      }
      return {};
    case kVersion2000: return "AC1015";
    case kVersionR14: return "AC1014";
    case kVersionR12:
    case kVersionR11:
    case kVersionR10:
      status = Status::Error(StatusCode::kDwgWriteNotSupported,
                             "Writing DWG " + VersionLabel(code) +
                                 " files is not supported yet; save the drawing as DXF R12 instead");
      return {};
    case kVersion2018: return "AC1032";
    case kVersion2013: return "AC1027";
    case kVersion2010: return "AC1024";
    case kVersion2004: return "AC1018";
    case kVersion2007:
      status = Status::Error(StatusCode::kDwgWriteNotSupported,
                             "Writing DWG " + VersionLabel(code) +
                                 " files is not supported yet (DWG 2018, 2013, 2010, 2004 and 2000 are written)");
      return {};
    default:
      status = Status::Error(StatusCode::kUnknownVersion,
                             "Unknown DWG version code " + std::to_string(code) +
                                 " (use 2018, 2013, 2010, 2007, 2004, 2000, 14, 12, or -1 for the drawing's own version)");
      return {};
  }
}

// A drawing of another format or version, encoded from the model.
Status WriteConverted(const Document& document, std::string& out) {
  std::map<std::string, size_t, std::less<>> dropped;
  std::string error;
  try {
    if (!dwg::EncodeModelR2000(document, out, dropped, error)) {
      return Status::Error(StatusCode::kCannotWriteFile, "The drawing cannot be written as DWG: " + error);
    }
  } catch (const std::bad_alloc&) {
    return Status::Error(StatusCode::kFileTooLarge, "Not enough memory to write the drawing as DWG");
  }
  if (dropped.empty()) return Status::Ok();
  std::string list;
  for (const auto& [type, count] : dropped) list += (list.empty() ? "" : ", ") + type + " (" + std::to_string(count) + ")";
  return Status::Error(StatusCode::kWrittenWithLosses,
                       "Written as DWG 2000 without the records it cannot encode yet: " + list);
}

Status Unchanged(const dwg::EncodeReport& report) {
  std::string list;
  for (const std::string& entry : report.unchanged) list += (list.empty() ? "" : ", ") + entry;
  return Status::Error(StatusCode::kWrittenWithLosses,
                       "Written, but edits of these objects could not be carried and they were kept as read: " + list);
}

// A drawing read from a 2004-family file, in its own version.
Status WriteR2004Family(const Document& document, std::string& out) {
  dwg::R2004Parts parts;
  parts.head = SourcePart(document, dwg::kR2004Head);
  parts.sectionMap = SourcePart(document, dwg::kR2004SectionMap);
  parts.pages = SourcePart(document, dwg::kR2004Pages);
  parts.objectsPrefix = SourcePart(document, dwg::kR2004ObjectsPrefix);
  if (parts.head.empty() || parts.sectionMap.empty()) {
    return Status::Error(StatusCode::kDwgWriteNotSupported,
                         "The drawing's file sections were not kept when it was read; it cannot be written as DWG "
                         "yet");
  }
  std::vector<dwg::EncodedObject> objects;
  std::string error;
  dwg::EncodeReport report;
  // Objects are rebuilt with their edits and deletions as 2000 ones are.
  dwg::Version version;
  dwg::ParseVersionId(document.version, version);
  try {
    if (!dwg::EncodeObjectsSameVersion(document, version, objects, report, error) ||
        !dwg::AssembleR2004(parts, objects, out, error)) {
      return Status::Error(StatusCode::kCannotWriteFile, "The drawing cannot be written as DWG: " + error);
    }
  } catch (const std::bad_alloc&) {
    return Status::Error(StatusCode::kFileTooLarge, "Not enough memory to write the drawing as DWG");
  }
  if (!report.unchanged.empty()) return Unchanged(report);
  const std::string_view lost = SourcePart(document, dwg::kR2004Lost);
  if (!lost.empty()) {
    return Status::Error(StatusCode::kWrittenWithLosses, "Written, but " + std::string(lost) +
                                                             " objects that could not be read from the source "
                                                             "file were left out");
  }
  return Status::Ok();
}

}  // namespace

Status WriteDwgToString(const Document& document, int32_t version, std::string& out) {
  Status status;
  const std::string target = TargetVersion(document, version, status);
  if (target.empty()) return status;
  if ((document.format != DrawingFormat::kDwg || document.version != target) && target == "AC1015") {
    return WriteConverted(document, out);
  }
  if (document.format != DrawingFormat::kDwg || document.version != target) {
    const std::string from = document.format == DrawingFormat::kDwg ? "DWG " + document.version : "DXF";
    return Status::Error(StatusCode::kDwgWriteNotSupported,
                         "Writing DWG " + VersionLabel(version) + " (" + target + ") files from a drawing read from " +
                             from + " is not supported yet; only a drawing read from DWG " + target +
                             " is written in that version");
  }
  dwg::Version v;
  dwg::ParseVersionId(target, v);
  if (v >= dwg::Version::kR2004) return WriteR2004Family(document, out);
  dwg::R2000Parts parts;
  parts.prefix = SourcePart(document, "PREFIX");
  parts.objFreeSpace = SourcePart(document, "OBJFREESPACE");
  parts.templ = SourcePart(document, "TEMPLATE");
  parts.secondHeader = SourcePart(document, "SECONDHEADER");
  if (parts.prefix.empty()) {
    return Status::Error(StatusCode::kDwgWriteNotSupported,
                         "The drawing's header variables and classes were not kept when it was read; it cannot be "
                         "written as DWG yet");
  }
  std::vector<dwg::EncodedObject> objects;
  dwg::EncodeReport report;
  std::string error;
  try {
    if (!dwg::EncodeObjectsSameVersion(document, v, objects, report, error) ||
        !dwg::AssembleR2000(parts, objects, out, error)) {
      return Status::Error(StatusCode::kCannotWriteFile, "The drawing cannot be written as DWG: " + error);
    }
  } catch (const std::bad_alloc&) {
    return Status::Error(StatusCode::kFileTooLarge, "Not enough memory to write the drawing as DWG");
  }
  if (!report.unchanged.empty()) return Unchanged(report);
  return Status::Ok();
}

Status WriteDwgFile(const Document& document, int32_t version, const std::string& path) {
  std::string bytes;
  Status status = WriteDwgToString(document, version, bytes);
  if (!status.ok() && status.code != StatusCode::kWrittenWithLosses) {
    status.message += ": " + path;
    return status;
  }
  io::ReplacingFile file;
  Status opened = file.Open(path);
  if (!opened.ok()) return opened;
  if (!file.Write(bytes)) {
    Status failed = file.Commit();
    return failed.ok() ? Status::Error(StatusCode::kCannotWriteFile, "Cannot write the file: " + path) : failed;
  }
  Status committed = file.Commit();
  if (!committed.ok()) return committed;
  if (!status.ok()) status.message += ": " + path;
  return status;
}

}  // namespace vantrove::engine
