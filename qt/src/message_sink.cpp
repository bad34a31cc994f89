// Message boxes and questions as QMessageBox.
#include <QMessageBox>

#include "vantrove/qt/adapters.hpp"
#include "widget_ref.hpp"

namespace vantrove::qt {

namespace {

QMessageBox::Icon IconOf(int style) {
  switch (style & 0x70) {
    case 16: return QMessageBox::Critical;
    case 32: return QMessageBox::Question;
    case 48: return QMessageBox::Warning;
    case 64: return QMessageBox::Information;
    default: return QMessageBox::NoIcon;
  }
}

QString FromView(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

}  // namespace

void QtMessageSink::Show(std::string_view title, std::string_view text, int style) {
  QMessageBox box(IconOf(style), FromView(title), FromView(text), QMessageBox::Ok, parent_.data());
  box.exec();
}

bool QtMessageSink::AskYesNo(std::string_view title, std::string_view text) {
  QMessageBox box(QMessageBox::Question, FromView(title), FromView(text), QMessageBox::Yes | QMessageBox::No,
                  parent_.data());
  box.setDefaultButton(QMessageBox::No);
  return box.exec() == QMessageBox::Yes;
}

}  // namespace vantrove::qt
