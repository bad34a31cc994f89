// Late binding for sorting and the delimited-text readers.
#include "../component/invoke.hpp"

namespace vantrove::detail {

void RegisterArraysInvokers(InvokerTable& t) {
  Register<&clsVantrove::SortOneDArray>(t, "SortOneDArray");
  Register<&clsVantrove::SortTwoDArray>(t, "SortTwoDArray");
  Register<&clsVantrove::Web_SortTwoDArray>(t, "Web_SortTwoDArray");
  Register<&clsVantrove::TextFileToArray>(t, "TextFileToArray");
  Register<&clsVantrove::Web_TextFileToArray>(t, "Web_TextFileToArray");
  Register<&clsVantrove::TextFileToOneDArray>(t, "TextFileToOneDArray");
  Register<&clsVantrove::MultiLineTextToOneDArray>(t, "MultiLineTextToOneDArray");
  Register<&clsVantrove::TextBoxToOneDArray>(t, "TextBoxToOneDArray");
}

}  // namespace vantrove::detail
