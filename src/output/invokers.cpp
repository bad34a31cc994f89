// Late binding for the output methods.
#include "../component/invoke.hpp"

namespace vantrove::detail {

void RegisterOutputInvokers(InvokerTable& t) {
  Register<&clsVantrove::TwoDArrayToText>(t, "TwoDArrayToText");
  Register<&clsVantrove::Web_TwoDArrayToText>(t, "Web_TwoDArrayToText");
  Register<&clsVantrove::TwoDArrayToClipboard>(t, "TwoDArrayToClipboard");
  Register<&clsVantrove::Web_TwoDArrayToClipboard>(t, "Web_TwoDArrayToClipboard");
  Register<&clsVantrove::TwoDArrayToTextFile>(t, "TwoDArrayToTextFile");
  Register<&clsVantrove::Web_TwoDArrayToTextFile>(t, "Web_TwoDArrayToTextFile");
  Register<&clsVantrove::OneDArrayToText>(t, "OneDArrayToText");
  Register<&clsVantrove::OneDArrayToClipboard>(t, "OneDArrayToClipboard");
  Register<&clsVantrove::OneDArrayToTextFile>(t, "OneDArrayToTextFile");
  Register<&clsVantrove::TwoDArrayToHTMLTable>(t, "TwoDArrayToHTMLTable");
  Register<&clsVantrove::Web_TwoDArrayToHTMLTable>(t, "Web_TwoDArrayToHTMLTable");
  Register<&clsVantrove::TwoDArrayToHTMLFile>(t, "TwoDArrayToHTMLFile");
  Register<&clsVantrove::Web_TwoDArrayToHTMLFile>(t, "Web_TwoDArrayToHTMLFile");
  Register<&clsVantrove::OneDArrayToHTMLTable>(t, "OneDArrayToHTMLTable");
  Register<&clsVantrove::OneDArrayToHTMLFile>(t, "OneDArrayToHTMLFile");
}

}  // namespace vantrove::detail
