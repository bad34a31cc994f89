// Uses the class by its methods and late-bound, and the engine on its own:
// prints the version, the late-bound version, and the status of opening a
// drawing given on the command line.
#include <iostream>
#include <string>
#include <vector>

#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"

int main(int argc, char** argv) {
  vantrove::clsVantrove v;
  std::vector<vantrove::Variant> args;
  const vantrove::InvokeResult r = v.Invoke("Version", args);
  std::cout << v.Version() << ' ' << (r.ok ? vantrove::CStr(r.value) : "?") << '\n';
  if (argc > 1) {
    std::cout << v.OpenDrawing(argv[1]) << '\n';
    vantrove::Variant rows = vantrove::Variant(vantrove::SafeArray());
    std::cout << v.CreateBlockAttributeArray(rows) << ' ' << rows.array().UBound(1) << '\n';
    v.CloseDrawing();
    vantrove::engine::DrawingComponent engine;
    int32_t opened = 0;
    engine.OpenDrawing(opened, argv[1], "");
    std::string status;
    engine.LastStatus(status);
    std::cout << (opened > 0) << ' ' << status << '\n';
  }
  return 0;
}
