#pragma once
// Internal: the guarded widget an adapter presents, and text conversions.

#include <QPointer>
#include <QString>
#include <string>

#include "vantrove/runtime.hpp"

namespace vantrove::qt::detail {

template <class W>
class WidgetRef {
 public:
  explicit WidgetRef(W* w) : w_(w) {}
  // The widget; "Object variable not set" (91) once it was destroyed.
  W& operator*() const {
    if (w_.isNull()) Raise(err::kObjectNotSet, "The widget no longer exists");
    return *w_;
  }
  W* operator->() const { return &**this; }
  W* get() const { return w_.data(); }

 private:
  QPointer<W> w_;
};

inline QString Q(const std::string& s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }
inline std::string S(const QString& s) { return s.toUtf8().toStdString(); }

// "Invalid property array index" (381) unless 0 <= i < n.
inline void CheckIndex(int64_t i, int64_t n) {
  if (i < 0 || i >= n) Raise(381, "Invalid property array index");
}
// "Index out of bounds" (35600) unless 1 <= i <= n.
inline void CheckItem(int64_t i, int64_t n) {
  if (i < 1 || i > n) Raise(35600, "Index out of bounds");
}

}  // namespace vantrove::qt::detail
