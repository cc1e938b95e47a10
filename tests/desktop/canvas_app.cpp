// A GTK application that draws its texts itself: accessibility knows no more of them than that they are in a picture.

#include <gtk/gtk.h>

namespace {

void write(cairo_t* context, const char* text, double x, double y) {
  PangoLayout* layout = pango_cairo_create_layout(context);
  PangoFontDescription* font = pango_font_description_from_string("DejaVu Sans");
  pango_font_description_set_absolute_size(font, 13 * PANGO_SCALE);
  pango_layout_set_font_description(layout, font);
  pango_layout_set_text(layout, text, -1);
  cairo_move_to(context, x, y);
  pango_cairo_show_layout(context, layout);
  pango_font_description_free(font);
  g_object_unref(layout);
}

gboolean draw(GtkWidget*, cairo_t* context, gpointer) {
  cairo_set_source_rgb(context, 0.12, 0.13, 0.15);
  cairo_paint(context);
  cairo_set_source_rgb(context, 0.93, 0.93, 0.93);
  write(context, "Layer properties", 20, 20);
  write(context, "Merge down", 20, 60);
  return TRUE;
}

}  // namespace

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), "Canvas");
  gtk_window_set_default_size(GTK_WINDOW(window), 420, 160);
  GtkWidget* area = gtk_drawing_area_new();
  gtk_container_add(GTK_CONTAINER(window), area);
  g_signal_connect(area, "draw", G_CALLBACK(draw), nullptr);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  gtk_widget_show_all(window);
  gtk_window_move(GTK_WINDOW(window), 500, 300);
  gtk_main();
  return 0;
}
