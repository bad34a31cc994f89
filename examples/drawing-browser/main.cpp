// drawing-browser: opens a drawing and shows its description as a tree and
// its block attributes as a table, filled by the class's control adapters
// through the Qt adapters.
//
//   drawing-browser plan.dxf                      a window
//   drawing-browser plan.dxf --block TITLE        only the references of one block
//   drawing-browser plan.dxf --screenshot a.png   draws once, saves the window, quits
//
// Exit codes: 0 shown, 1 the drawing or its description could not be read, 2 usage.
#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QSplitter>
#include <QTemporaryDir>
#include <QTimer>
#include <QVBoxLayout>
#include <cstdio>

#include "vantrove/component.hpp"
#include "vantrove/qt/adapters.hpp"

namespace {

struct Browser {
  QWidget window;
  QLabel* title = new QLabel;
  QTreeWidget* tree = new QTreeWidget;
  QTableWidget* table = new QTableWidget;

  Browser() {
    auto* split = new QSplitter;
    split->addWidget(tree);
    split->addWidget(table);
    split->setStretchFactor(1, 2);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(title);
    layout->addWidget(split, 1);
    tree->setHeaderLabel("Description");
    table->horizontalHeader()->setVisible(false);  // the array's first row holds the headings
    window.resize(1100, 600);
  }
};

// Fills the browser from the drawing; an error text, or "" when all went well.
std::string Load(vantrove::clsVantrove& v, Browser& b, const std::string& drawing, const std::string& block,
                 const QTemporaryDir& tmp) {
  using vantrove::Variant;
  const std::string opened = v.OpenDrawing(drawing);
  if (opened != "OK") return "Cannot open " + drawing + ": " + opened;
  const std::string xml = (tmp.path() + "/description.xml").toStdString();
  const std::string written = v.CreateXML(xml, -1, -1, -1, -1, -1, 0, -1, -1);
  if (written != "OK") return "Cannot describe " + drawing + ": " + written;
  const auto tree = vantrove::qt::Adapt(b.tree);
  if (v.XMLFileToTreeView(xml, tree, false) != 1) return "Cannot read the description";
  b.tree->expandToDepth(1);

  Variant attributes(vantrove::SafeArray({vantrove::Bounds{0, -1}}));
  // The table's columns are the first block's tags: mixing blocks with other
  // tags shifts their values, so one block can be asked for.
  const int16_t rc = v.CreateBlockAttributeArray(attributes, vantrove::dwgBoth, "", block);
  if (rc == 1 && v.TwoDArrayToFlexGrid(attributes, vantrove::qt::AdaptFlexGrid(b.table)) != 1) {
    return "Cannot show the block attributes";
  }
  b.table->resizeColumnsToContents();
  b.title->setText(QString::fromStdString(drawing) + QString(" — %1 block references, %2 description nodes")
                                                         .arg(std::max(0, b.table->rowCount() - 1))
                                                         .arg(tree->NodeCount()));
  v.CloseDrawing();
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  const QStringList args = app.arguments();
  QString block, screenshot;
  for (int i = 2; i + 1 < args.size(); i += 2) {
    if (args[i] == "--block") block = args[i + 1];
    else if (args[i] == "--screenshot") screenshot = args[i + 1];
    else break;
  }
  if (args.size() < 2 || args.size() % 2 != 0) {
    std::fprintf(stderr, "usage: drawing-browser DRAWING [--block NAME] [--screenshot FILE.png]\n");
    return 2;
  }
  vantrove::SetMessageSink(std::make_shared<vantrove::qt::QtMessageSink>());
  vantrove::clsVantrove v;
  Browser browser;
  QTemporaryDir tmp;
  const std::string error = Load(v, browser, args[1].toStdString(), block.toStdString(), tmp);
  if (!error.empty()) {
    std::fprintf(stderr, "drawing-browser: %s\n", error.c_str());
    return 1;
  }
  browser.window.setWindowTitle("Drawing browser");
  browser.window.show();
  if (!screenshot.isEmpty()) {
    QTimer::singleShot(0, [&] {
      const bool saved = browser.window.grab().save(screenshot, "PNG");
      app.exit(saved ? 0 : 1);
    });
  }
  return app.exec();
}
