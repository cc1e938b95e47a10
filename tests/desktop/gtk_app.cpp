// A GTK application with one control of each kind that the tests touch.
//
//   gtk_app [--title TITLE] [--at X,Y]
//
// Lines on standard input change it: "dialog" opens a modal dialog, "answer" closes it, "focus NAME" moves the focus,
// "join" brings one that was started with NO_AT_BRIDGE=1 to the accessibility bus, "storm RATE TIME" tells of so many
// focus changes a second for so many milliseconds, "quit" ends it.

#include <atk-bridge.h>
#include <gtk/gtk.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace {

std::map<std::string, GtkWidget*> controls;

GtkWidget* add(GtkWidget* box, const char* name, GtkWidget* control) {
  gtk_container_add(GTK_CONTAINER(box), control);
  controls[name] = control;
  return control;
}

void setAccessibleName(GtkWidget* widget, const char* name) {
  atk_object_set_name(gtk_widget_get_accessible(widget), name);
}

GtkWidget* menuItem(GtkWidget* menu, GtkWidget* item) {
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
  return item;
}

GtkWidget* createMenuBar() {
  GtkWidget* fileMenu = gtk_menu_new();
  menuItem(fileMenu, gtk_menu_item_new_with_label("Open"));
  menuItem(fileMenu, gtk_menu_item_new_with_label("Save"));
  GtkWidget* recent = menuItem(fileMenu, gtk_menu_item_new_with_label("Recent"));
  GtkWidget* recentMenu = gtk_menu_new();
  menuItem(recentMenu, gtk_menu_item_new_with_label("First"));
  menuItem(recentMenu, gtk_menu_item_new_with_label("Second"));
  gtk_menu_item_set_submenu(GTK_MENU_ITEM(recent), recentMenu);
  GtkWidget* wrap = menuItem(fileMenu, gtk_check_menu_item_new_with_label("Wrap"));
  gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(wrap), TRUE);

  GtkWidget* bar = gtk_menu_bar_new();
  GtkWidget* file = menuItem(bar, gtk_menu_item_new_with_label("File"));
  gtk_menu_item_set_submenu(GTK_MENU_ITEM(file), fileMenu);
  menuItem(bar, gtk_menu_item_new_with_label("Help"));
  return bar;
}

gboolean popUpContextMenu(GtkWidget* widget, GdkEvent* event, gpointer menu) {
  if (event->type != GDK_BUTTON_PRESS || event->button.button != 3) {
    return FALSE;
  }
  gtk_menu_popup_at_pointer(GTK_MENU(menu), event);
  (void)widget;
  return TRUE;
}

GtkWidget* createContextMenu() {
  GtkWidget* menu = gtk_menu_new();
  menuItem(menu, gtk_menu_item_new_with_label("Cut"));
  menuItem(menu, gtk_menu_item_new_with_label("Paste"));
  gtk_widget_show_all(menu);
  return menu;
}

void openDialog(GtkWidget* parent) {
  GtkWidget* dialog = gtk_dialog_new_with_buttons("Question", GTK_WINDOW(parent), GTK_DIALOG_MODAL, "_Accept",
                                                  GTK_RESPONSE_ACCEPT, nullptr);
  GtkWidget* content = gtk_dialog_get_content_area(GTK_DIALOG(dialog));
  gtk_container_add(GTK_CONTAINER(content), gtk_label_new("Really?"));
  gtk_window_set_default_size(GTK_WINDOW(dialog), 240, 160);
  g_signal_connect(dialog, "response", G_CALLBACK(gtk_widget_destroy), nullptr);
  gtk_widget_show_all(dialog);
  controls["dialog"] = dialog;
}

GtkWidget* createWindow(const char* title) {
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), title);
  gtk_window_set_default_size(GTK_WINDOW(window), 520, 600);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
  gtk_container_add(GTK_CONTAINER(window), box);
  add(box, "menubar", createMenuBar());

  GtkWidget* button = add(box, "button", gtk_button_new_with_mnemonic("_Press me"));
  atk_object_set_description(gtk_widget_get_accessible(button), "Does nothing");
  GtkWidget* tipped = add(box, "tipped", gtk_button_new_with_label("Tipped"));
  gtk_widget_set_tooltip_text(tipped, "A tip");
  add(box, "check", gtk_check_button_new_with_label("Wrap lines"));
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(controls["check"]), TRUE);
  add(box, "toggle", gtk_toggle_button_new_with_label("Bold"));
  add(box, "radio", gtk_radio_button_new_with_label(nullptr, "Left"));

  GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 2);
  gtk_container_add(GTK_CONTAINER(box), row);
  GtkWidget* label = add(row, "label", gtk_label_new_with_mnemonic("_City"));
  GtkWidget* city = add(row, "city", gtk_entry_new());
  gtk_label_set_mnemonic_widget(GTK_LABEL(label), city);
  gtk_entry_set_text(GTK_ENTRY(city), "Vienna");
  GtkWidget* search = add(row, "search", gtk_entry_new());
  gtk_entry_set_placeholder_text(GTK_ENTRY(search), "Search here");
  GtkWidget* password = add(box, "password", gtk_entry_new());
  gtk_entry_set_visibility(GTK_ENTRY(password), FALSE);
  gtk_entry_set_text(GTK_ENTRY(password), "secret");

  GtkWidget* combo = add(box, "combo", gtk_combo_box_text_new());
  for (const char* text : {"Red", "Green", "Blue"}) {
    gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(combo), text);
  }
  gtk_combo_box_set_active(GTK_COMBO_BOX(combo), 1);
  GtkWidget* scale = add(box, "scale", gtk_scale_new_with_range(GTK_ORIENTATION_HORIZONTAL, 0, 10, 1));
  gtk_range_set_value(GTK_RANGE(scale), 7);
  add(box, "link", gtk_link_button_new_with_label("http://localhost/help", "Manual"));

  GtkWidget* list = add(box, "list", gtk_list_box_new());
  for (const char* text : {"Apples", "Pears"}) {
    gtk_container_add(GTK_CONTAINER(list), gtk_label_new(text));
  }

  GtkWidget* view = add(box, "text", gtk_text_view_new());
  gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(view)), "One line\nand another", -1);
  setAccessibleName(view, "Notes");

  GtkWidget* notebook = add(box, "notebook", gtk_notebook_new());
  for (const char* text : {"General", "Details"}) {
    gtk_notebook_append_page(GTK_NOTEBOOK(notebook), gtk_label_new((std::string(text) + " page").c_str()),
                             gtk_label_new(text));
  }

  GtkWidget* canvas = add(box, "canvas", gtk_drawing_area_new());
  gtk_widget_set_size_request(canvas, -1, 60);
  gtk_widget_add_events(canvas, GDK_BUTTON_PRESS_MASK);
  g_signal_connect(canvas, "button-press-event", G_CALLBACK(popUpContextMenu), createContextMenu());
  return window;
}

/// Tells of focus changes that there are not, between two controls.
struct Storm {
  double rate;  // a millisecond
  gint64 begin, end;
  int told = 0;

  static gboolean blow(gpointer data) {
    auto* storm = static_cast<Storm*>(data);
    const gint64 now = g_get_monotonic_time();
    const char* const names[] = {"text", "button"};
    for (; storm->told < storm->rate * static_cast<double>(now - storm->begin) / 1000; ++storm->told) {
      AtkObject* object = gtk_widget_get_accessible(controls.at(names[storm->told % 2]));
      atk_object_notify_state_change(object, ATK_STATE_FOCUSED, TRUE);
    }
    if (now < storm->end) {
      return TRUE;
    }
    delete storm;
    return FALSE;
  }
};

gboolean obey(GIOChannel* input, GIOCondition, gpointer window) {
  char* line = nullptr;
  if (g_io_channel_read_line(input, &line, nullptr, nullptr, nullptr) != G_IO_STATUS_NORMAL) {
    return FALSE;
  }
  const std::string command = g_strstrip(line);
  g_free(line);
  if (command == "dialog") {
    openDialog(GTK_WIDGET(window));
  }
  if (command == "answer") {
    gtk_widget_destroy(controls.at("dialog"));
  }
  if (command == "join") {
    unsetenv("NO_AT_BRIDGE");
    atk_bridge_adaptor_init(nullptr, nullptr);
  }
  if (command == "quit") {
    gtk_widget_destroy(GTK_WIDGET(window));
  }
  int rate = 0;
  int time = 0;
  if (std::sscanf(command.c_str(), "storm %d %d", &rate, &time) == 2) {
    const gint64 now = g_get_monotonic_time();
    g_timeout_add(1, Storm::blow, new Storm{rate / 1000.0, now, now + gint64{1000} * time});
  }
  if (command.starts_with("focus ")) {
    gtk_widget_grab_focus(controls.at(command.substr(6)));
  }
  return TRUE;
}

}  // namespace

int main(int argc, char** argv) {
  const char* title = "Sample";
  int x = 40, y = 60;
  gtk_init(&argc, &argv);
  for (int i = 1; i + 1 < argc; i += 2) {
    if (!std::strcmp(argv[i], "--title")) {
      title = argv[i + 1];
    }
    if (!std::strcmp(argv[i], "--at")) {
      std::sscanf(argv[i + 1], "%d,%d", &x, &y);
    }
  }
  GtkWidget* window = createWindow(title);
  GIOChannel* input = g_io_channel_unix_new(0);
  g_io_add_watch(input, G_IO_IN, obey, window);
  gtk_widget_show_all(window);
  gtk_window_move(GTK_WINDOW(window), x, y);
  gtk_main();
}
