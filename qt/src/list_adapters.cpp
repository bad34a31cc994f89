// QListWidget as ListBox and the folder, drive and file lists; QComboBox;
// QLineEdit and QPlainTextEdit as TextBox.
#include "vantrove/qt/adapters.hpp"
#include "widget_ref.hpp"

namespace vantrove::qt {

namespace {

using detail::Q;
using detail::S;

// ListCount, List and Selected of a QListWidget.
class ListWidgetItems {
 public:
  explicit ListWidgetItems(QListWidget* w) : w_(w) {}
  int32_t Count() { return w_->count(); }
  QListWidgetItem* At(int32_t i) {
    detail::CheckIndex(i, w_->count());
    return w_->item(i);
  }
  void Fill(const std::vector<std::string>& texts) {
    QListWidget& w = *w_;
    w.clear();
    for (const std::string& t : texts) w.addItem(Q(t));
  }
  QListWidget& widget() { return *w_; }

 private:
  detail::WidgetRef<QListWidget> w_;
};

class ListBoxAdapter : public ListBox {
 public:
  explicit ListBoxAdapter(QListWidget* w) : items_(w) {}
  int32_t ListCount() override { return items_.Count(); }
  std::string List(int32_t i) override { return S(items_.At(i)->text()); }
  bool Selected(int32_t i) override { return items_.At(i)->isSelected(); }
  void SetSelected(int32_t i, bool s) override { items_.At(i)->setSelected(s); }

 private:
  ListWidgetItems items_;
};

class DirListAdapter : public DirListBox {
 public:
  DirListAdapter(QListWidget* w, const std::string& path) : items_(w) { SetPath(path); }
  int32_t ListCount() override { return items_.Count(); }
  std::string List(int32_t i) override { return S(items_.At(i)->text()); }
  std::string Path() override { return path_; }
  void SetPath(const std::string& path) override {
    std::string folder = file_lists::CheckFolder(path);
    items_.Fill(file_lists::SubFolders(folder));
    path_ = std::move(folder);
  }

 private:
  ListWidgetItems items_;
  std::string path_;
};

class DriveListAdapter : public DriveListBox {
 public:
  explicit DriveListAdapter(QListWidget* w) : items_(w) {
    items_.Fill(file_lists::Drives());
    SetDrive("/");
  }
  int32_t ListCount() override { return items_.Count(); }
  std::string List(int32_t i) override { return S(items_.At(i)->text()); }
  std::string Drive() override { return drive_; }
  void SetDrive(const std::string& drive) override {
    const auto found = items_.widget().findItems(Q(drive), Qt::MatchExactly);
    if (found.isEmpty()) Raise(68, "Device unavailable: " + drive);
    items_.widget().setCurrentItem(found.front());
    drive_ = drive;
  }

 private:
  ListWidgetItems items_;
  std::string drive_;
};

class FileListAdapter : public FileListBox {
 public:
  FileListAdapter(QListWidget* w, const std::string& path, const std::string& pattern)
      : items_(w), pattern_(pattern) {
    SetPath(path);
  }
  int32_t ListCount() override { return items_.Count(); }
  std::string List(int32_t i) override { return S(items_.At(i)->text()); }
  bool Selected(int32_t i) override { return items_.At(i)->isSelected(); }
  void SetSelected(int32_t i, bool s) override { items_.At(i)->setSelected(s); }
  std::string Path() override { return path_; }
  void SetPath(const std::string& path) override {
    std::string folder = file_lists::CheckFolder(path);
    items_.Fill(file_lists::Files(folder, pattern_));
    path_ = std::move(folder);
  }
  std::string Pattern() override { return pattern_; }
  void SetPattern(const std::string& pattern) override {
    items_.Fill(file_lists::Files(path_, pattern));
    pattern_ = pattern;
  }

 private:
  ListWidgetItems items_;
  std::string path_, pattern_;
};

class ComboAdapter : public ComboBox {
 public:
  explicit ComboAdapter(QComboBox* w) : w_(w) {}
  int32_t ListCount() override { return w_->count(); }
  std::string List(int32_t i) override {
    detail::CheckIndex(i, w_->count());
    return S(w_->itemText(i));
  }

 private:
  detail::WidgetRef<QComboBox> w_;
};

class LineEditAdapter : public TextBox {
 public:
  explicit LineEditAdapter(QLineEdit* w) : w_(w) {}
  std::string Text() const override { return S(w_->text()); }
  void SetText(std::string text) override { w_->setText(Q(text)); }

 private:
  detail::WidgetRef<QLineEdit> w_;
};

class PlainTextAdapter : public TextBox {
 public:
  explicit PlainTextAdapter(QPlainTextEdit* w) : w_(w) {}
  std::string Text() const override { return S(w_->toPlainText()); }
  void SetText(std::string text) override { w_->setPlainText(Q(text)); }

 private:
  detail::WidgetRef<QPlainTextEdit> w_;
};

}  // namespace

std::shared_ptr<ListBox> Adapt(QListWidget* widget) { return std::make_shared<ListBoxAdapter>(widget); }
std::shared_ptr<ComboBox> Adapt(QComboBox* widget) { return std::make_shared<ComboAdapter>(widget); }
std::shared_ptr<DirListBox> AdaptDirListBox(QListWidget* widget, const std::string& path) {
  return std::make_shared<DirListAdapter>(widget, path);
}
std::shared_ptr<DriveListBox> AdaptDriveListBox(QListWidget* widget) {
  return std::make_shared<DriveListAdapter>(widget);
}
std::shared_ptr<FileListBox> AdaptFileListBox(QListWidget* widget, const std::string& path,
                                              const std::string& pattern) {
  return std::make_shared<FileListAdapter>(widget, path, pattern);
}
std::shared_ptr<TextBox> Adapt(QLineEdit* widget) { return std::make_shared<LineEditAdapter>(widget); }
std::shared_ptr<TextBox> Adapt(QPlainTextEdit* widget) { return std::make_shared<PlainTextAdapter>(widget); }

}  // namespace vantrove::qt
