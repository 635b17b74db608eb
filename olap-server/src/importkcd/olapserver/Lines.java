package importkcd.olapserver;

import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.util.regex.Pattern;

/**
 * Lines on standard output and standard error, in UTF-8. Names and reasons come from documents,
 * files and data warehouses: what would tell a terminal something, end the line or turn the
 * direction of writing becomes a blank, as in everything that kcd prints.
 */
final class Lines {
  private static final Pattern BLANKED =
      Pattern.compile("[\\p{Cc}\\x{61C}\\x{200E}\\x{200F}\\x{2028}-\\x{202E}\\x{2066}-\\x{2069}]");

  private static final PrintStream OUT = new PrintStream(System.out, true, StandardCharsets.UTF_8);
  private static final PrintStream ERR = new PrintStream(System.err, true, StandardCharsets.UTF_8);

  private Lines() {}

  static void print(String line) {
    OUT.println(printable(line));
  }

  static void printError(String line) {
    ERR.println(printable(line));
  }

  private static String printable(String text) {
    return BLANKED.matcher(text).replaceAll(" ");
  }
}
