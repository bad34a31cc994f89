#pragma once
// The XML description of a drawing: one start tag, end tag or leaf element
// per line, CR LF line ends, ISO-8859-1 bytes with numeric character
// references for everything above U+00FF. Values escape & < > " ' as
// entities, '=' as &#61; and CR/LF as &#13; &#10;, so that a line-by-line
// reader never sees a value that looks like markup. Handles are upper-case
// hex; booleans are True/False; ElementId is the object's reading position.

#include <string>
#include <string_view>

#include "vantrove/engine/document.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

struct DescriptionSections {
  bool blocks = false;                 // <Attributes>: block references and their attributes
  bool attribute_definitions = false;  // <AttributeDefinitions>
  bool external_references = false;    // <ExternalReferences>
  bool layers = false;                 // <Layers>
  bool layouts = false;                // <Layouts>
  bool system_variables = false;       // <SystemVariables>
  bool images = false;                 // <Images>
  bool text = false;                   // <TextLiterals>: TEXT and MTEXT
};

// Receives the description in pieces.
class DescriptionSink {
 public:
  virtual ~DescriptionSink() = default;
  virtual void Write(std::string_view bytes) = 0;
};

void WriteDescription(const Document& document, const DescriptionSections& sections, DescriptionSink& sink);

// The whole description as one string (for tests and small drawings).
std::string DescriptionText(const Document& document, const DescriptionSections& sections);

// Writes the description to `path` through a temporary file in the same
// folder that is renamed over the target at the end.
Status WriteDescriptionFile(const Document& document, const DescriptionSections& sections, const std::string& path);

// Escapes UTF-8 text for a description value (see the note at the top).
std::string EscapeDescriptionValue(std::string_view utf8);

}  // namespace vantrove::engine
