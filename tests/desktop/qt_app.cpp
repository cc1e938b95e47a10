// A Qt 5 application with one control of each kind that the tests touch.
//
//   qt_app [--at X,Y]

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTextEdit>
#include <QVBoxLayout>
#include <cstdio>
#include <cstring>

namespace {

QWidget* createControls() {
  auto* controls = new QWidget;
  auto* column = new QVBoxLayout(controls);
  auto* button = new QPushButton("Press me");
  button->setToolTip("Does nothing");
  column->addWidget(button);
  auto* check = new QCheckBox("Wrap lines");
  check->setChecked(true);
  column->addWidget(check);

  auto* city = new QLineEdit("Vienna");
  auto* label = new QLabel("&City");
  label->setBuddy(city);
  column->addWidget(label);
  column->addWidget(city);
  auto* password = new QLineEdit("secret");
  password->setEchoMode(QLineEdit::Password);
  column->addWidget(password);

  auto* combo = new QComboBox;
  combo->addItems({"Red", "Green", "Blue"});
  combo->setCurrentIndex(1);
  column->addWidget(combo);
  auto* list = new QListWidget;
  list->addItems({"Apples", "Pears"});
  column->addWidget(list);
  auto* notes = new QTextEdit;
  notes->setPlainText("One line\nand another");
  column->addWidget(notes);
  auto* tabs = new QTabWidget;
  auto* general = new QWidget;
  (new QVBoxLayout(general))->addWidget(new QLineEdit("Inside"));
  tabs->addTab(general, "General");
  tabs->addTab(new QLabel("Details page"), "Details");
  column->addWidget(tabs);
  return controls;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  int x = 40, y = 60;
  for (int i = 1; i + 1 < argc; ++i) {
    if (!std::strcmp(argv[i], "--at")) {
      std::sscanf(argv[i + 1], "%d,%d", &x, &y);
    }
  }
  QMainWindow window;
  window.setWindowTitle("Sample");
  QMenu* file = window.menuBar()->addMenu("File");
  for (const char* text : {"Open", "Save"}) {
    file->addAction(text);
  }
  window.setCentralWidget(createControls());
  window.setGeometry(x, y, 400, 600);
  window.show();
  return QApplication::exec();
}
