// A Qt 5 application with one control of each kind that the tests touch. With --plain its window is a bare widget with
// a button in a frame.
//
//   qt_app [--at X,Y] [--plain]

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QSpinBox>
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
  auto* amount = new QSpinBox;
  amount->setValue(7);
  column->addWidget(amount);
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

void showPlainWindow(int x, int y) {
  auto* window = new QWidget;
  window->setWindowTitle("Plain");
  auto* frame = new QFrame;
  (new QVBoxLayout(frame))->addWidget(new QPushButton("Framed"));
  (new QVBoxLayout(window))->addWidget(frame);
  window->setGeometry(x, y, 300, 200);
  window->show();
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  int x = 40, y = 60;
  bool isPlain = false;
  for (int i = 1; i < argc; ++i) {
    isPlain = isPlain || !std::strcmp(argv[i], "--plain");
    if (!std::strcmp(argv[i], "--at") && i + 1 < argc) {
      std::sscanf(argv[i + 1], "%d,%d", &x, &y);
    }
  }
  if (isPlain) {
    showPlainWindow(x, y);
    return QApplication::exec();
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
