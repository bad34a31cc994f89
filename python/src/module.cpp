// vantrove._vantrove: the core of the Python module. It holds clsVantrove
// objects and library objects, converts values both ways and calls members
// late-bound; the package's Python code turns the interface table into
// methods with their own names, parameters and help.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "convert.hpp"
#include "vantrove/component.hpp"
#include "vantrove/dispatch.hpp"
#include "vantrove/enums.hpp"

namespace vantrove::python {

namespace {

// Raises the package's exception for a run-time error: vantrove.Error, or
// the subclass that also is the matching Python built-in exception.
void SetPythonError(int32_t number, const std::string& description) {
  try {
    py::object error = py::module_::import("vantrove._errors").attr("error_for")(number, description);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
  } catch (py::error_already_set& e) {
    e.restore();
  }
}

// One clsVantrove object. Calls run without the interpreter lock, so that
// other Python threads go on; the object itself takes one call at a time.
struct Component {
  clsVantrove object;
  std::mutex busy;
};

const MethodInfo& MethodAt(int position) {
  const MethodInfo* m = FindMethod(kFirstDispId + position);
  if (m == nullptr) Raise(err::kNoSuchMember, "No method has the position " + std::to_string(position));
  return *m;
}

// Calls the method at `position` with `args` (values or the Missing marker).
// Returns the result and a list of (index, value) for every by-reference
// argument that the call changed.
py::tuple CallAt(Component& self, int position, const py::sequence& args) {
  const MethodInfo& m = MethodAt(position);
  std::vector<Variant> values;
  values.reserve(args.size());
  for (py::handle a : args) values.push_back(ToVariant(a));
  std::vector<std::pair<size_t, Variant>> before;
  for (size_t i = 0; i < values.size() && i < m.params.size(); ++i) {
    if (m.params[i].byRef && !m.params[i].paramArray) before.emplace_back(i, values[i]);
  }
  InvokeResult r;
  {
    py::gil_scoped_release unlocked;
    std::lock_guard<std::mutex> one_at_a_time(self.busy);
    r = self.object.Invoke(m.dispid, values);
  }
  if (!r.ok) throw RuntimeError(r.error, r.description);
  py::list changed;
  for (const auto& [i, old] : before) {
    if (!SameValue(old, values[i])) changed.append(py::make_tuple(i, ToPython(values[i])));
  }
  return py::make_tuple(ToPython(r.value), changed);
}

py::object CallObjectMember(const Handle& self, const std::string& member, int kind, const py::sequence& args) {
  if (!self.object) Raise(err::kObjectNotSet);
  std::vector<Variant> values;
  values.reserve(args.size());
  for (py::handle a : args) values.push_back(ToVariant(a));
  Variant result;
  {
    py::gil_scoped_release unlocked;
    result = self.object->Invoke(member, static_cast<CallKind>(kind), values);
  }
  return ToPython(result);
}

py::object DefaultValue(const ParamInfo& p) {
  if (p.paramArray) return py::none();
  return ToPython(OmittedValue(p));
}

// The interface table: one tuple per method, in interface order.
py::list Interface() {
  py::list out;
  for (const MethodInfo& m : InterfaceMethods()) {
    py::list params;
    for (const ParamInfo& p : m.params) {
      params.append(py::dict(py::arg("name") = p.name, py::arg("type") = p.type.name, py::arg("by_ref") = p.byRef,
                             py::arg("optional") = p.optional, py::arg("param_array") = p.paramArray,
                             py::arg("declared_default") = p.declaredDefault.has_value(),
                             py::arg("default") = DefaultValue(p)));
    }
    out.append(py::dict(py::arg("position") = m.position, py::arg("dispid") = m.dispid, py::arg("name") = m.name,
                        py::arg("result") = m.result.name, py::arg("params") = params, py::arg("help") = m.help,
                        py::arg("declaration") = m.Declaration(),
                        py::arg("implemented") = clsVantrove::IsImplemented(m.position)));
  }
  return out;
}

}  // namespace

}  // namespace vantrove::python

PYBIND11_MODULE(_vantrove, m) {
  using namespace vantrove;
  using namespace vantrove::python;
  m.doc() = "Core of the vantrove package: clsVantrove and library objects, called late-bound.";

  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const RuntimeError& e) {
      SetPythonError(e.number(), e.description().empty() ? std::string(ErrorDescription(e.number())) : e.description());
    }
  });

  py::class_<EmptyMarker>(m, "EmptyType", "The type of vantrove.Empty: a Variant that holds nothing yet.")
      .def("__repr__", [](const EmptyMarker&) { return "vantrove.Empty"; })
      .def("__str__", [](const EmptyMarker&) { return ""; })
      .def("__bool__", [](const EmptyMarker&) { return false; })
      .def("__eq__", [](const EmptyMarker&, py::handle other) { return py::isinstance<EmptyMarker>(other); })
      .def("__hash__", [](const EmptyMarker&) { return 0; });
  py::class_<MissingMarker>(m, "MissingType", "The type of vantrove.Missing: an optional argument left out.")
      .def("__repr__", [](const MissingMarker&) { return "vantrove.Missing"; })
      .def("__bool__", [](const MissingMarker&) { return false; })
      .def("__eq__", [](const MissingMarker&, py::handle other) { return py::isinstance<MissingMarker>(other); })
      .def("__hash__", [](const MissingMarker&) { return 1; });
  m.attr("Empty") = EmptyObject();
  m.attr("Missing") = MissingObject();

  py::class_<Handle>(m, "Handle", "A library object, reached by member name.")
      .def_static("create", [](const std::string& name) { return Handle{CreateObject(name)}; })
      .def_property_readonly("class_name", [](const Handle& h) { return h.object ? h.object->ClassName() : ""; })
      .def("invoke", &CallObjectMember, py::arg("member"), py::arg("kind"), py::arg("args"))
      .def("__eq__", [](const Handle& a, const Handle& b) { return a.object == b.object; })
      .def("__hash__", [](const Handle& h) { return std::hash<const void*>()(h.object.get()); });
  m.attr("METHOD") = static_cast<int>(CallKind::Method);
  m.attr("PROPERTY_GET") = static_cast<int>(CallKind::PropertyGet);
  m.attr("PROPERTY_PUT") = static_cast<int>(CallKind::PropertyPut);

  py::class_<Component>(m, "Component", "One clsVantrove object.")
      .def(py::init<>())
      .def("call", &CallAt, py::arg("position"), py::arg("args"));

  m.def("interface", &Interface, "The methods of clsVantrove in interface order.");
  m.def(
      "enumerations",
      [] {
        py::list out;
        for (const EnumInfo& e : Enumerations()) {
          py::list constants;
          for (const EnumConstant& c : e.constants) constants.append(py::make_tuple(std::string(c.name), c.value));
          out.append(py::make_tuple(std::string(e.name), constants));
        }
        return out;
      },
      "The public enumerations: (name, [(constant, value), ...]).");
  m.def("creatable_classes", &CreatableClassNames, "Names of the library objects that can be created.");
  m.def("set_object_wrapper", &SetObjectWrapper, "Sets the function that wraps library objects.");
  m.def("to_variant_and_back", [](py::handle v) { return ToPython(ToVariant(v)); },
        "A value as it arrives in the library and comes back (for tests and diagnostics).");
  m.def("type_name", [](py::handle v) { return ToVariant(v).TypeName(); },
        "The classic TypeName of a value as the library receives it.");
}
