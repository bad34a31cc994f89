// The members that this build implements, area by area.
#include "invoke.hpp"

namespace vantrove::detail {

namespace {
InvokerTable Build() {
  InvokerTable t;
  RegisterComponentInvokers(t);
  RegisterDrawingInvokers(t);
  RegisterOutputInvokers(t);
  RegisterArraysInvokers(t);
  RegisterDrawingExportAndEditInvokers(t);
  RegisterExtractInvokers(t);
  RegisterFindInvokers(t);
  RegisterControlsInvokers(t);
  return t;
}
}  // namespace

const InvokerTable& Invokers() {
  static const InvokerTable table = Build();
  return table;
}

}  // namespace vantrove::detail
