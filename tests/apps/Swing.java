import javax.swing.*;
import javax.swing.tree.*;
import java.awt.*;

/** A window with one of each of Swing's controls. */
public class Swing {
  public static void main(String[] arguments) {
    SwingUtilities.invokeLater(() -> {
      JFrame frame = new JFrame("Swing sample");
      JMenuBar bar = new JMenuBar();
      JMenu file = new JMenu("File");
      file.add(new JMenuItem("Open trip"));
      file.add(new JCheckBoxMenuItem("Keep trip"));
      JMenu more = new JMenu("More");
      more.add(new JMenuItem("Print trip"));
      file.add(more);
      bar.add(file);
      frame.setJMenuBar(bar);

      JPanel controls = new JPanel(new GridLayout(0, 2, 6, 6));
      controls.add(new JButton("Order now"));
      controls.add(new JCheckBox("Window seat"));
      controls.add(new JRadioButton("First class"));
      controls.add(new JToggleButton("Bicycle"));
      JTextField city = new JTextField("Graz");
      city.getAccessibleContext().setAccessibleName("City");
      controls.add(new JLabel("Where to"));
      controls.add(city);
      controls.add(new JComboBox<>(new String[] {"Soup", "Salad"}));
      controls.add(new JSlider(0, 10, 4));
      controls.add(new JSpinner());
      controls.add(new JList<>(new String[] {"Apples", "Pears"}));

      JTabbedPane tabs = new JTabbedPane();
      tabs.addTab("Controls", controls);
      tabs.addTab("Table", new JScrollPane(new JTable(new Object[][] {{"Express", 40}, {"Night train", 25}},
                                                      new Object[] {"Train", "Price"})));
      DefaultMutableTreeNode root = new DefaultMutableTreeNode("Stations");
      root.add(new DefaultMutableTreeNode("North"));
      root.add(new DefaultMutableTreeNode("South"));
      tabs.addTab("Tree", new JTree(root));
      JTextArea notes = new JTextArea("Two lines\nof text");
      notes.getAccessibleContext().setAccessibleName("Notes");
      tabs.addTab("Text", new JScrollPane(notes));
      frame.add(tabs);
      frame.setSize(520, 480);
      frame.setLocation(120, 90);
      frame.setDefaultCloseOperation(JFrame.EXIT_ON_CLOSE);
      frame.setVisible(true);
    });
  }
}
