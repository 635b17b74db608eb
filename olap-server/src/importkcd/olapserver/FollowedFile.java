package importkcd.olapserver;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.BasicFileAttributes;

/**
 * What a file says, read anew when it was changed. A file that is missing or broken then is left as
 * it was, which is told on standard error, until it is whole again.
 */
final class FollowedFile<T> {
  /** Makes out what a file's content says; the exception says what is wrong with it. */
  interface Reader<T> {
    T read(byte[] content) throws IOException;
  }

  private final Path file;
  private final Reader<T> reader;
  private T last;
  private String identity;
  private String fault = "";

  /** Throws an exception that names the file when it cannot be used at the beginning. */
  FollowedFile(Path file, Reader<T> reader) throws IOException {
    this.file = file;
    this.reader = reader;
    try {
      identity = identity(file);
      last = reader.read(Files.readAllBytes(file));
    } catch (IOException error) {
      throw new IOException(file + " cannot be used: " + reason(error), error);
    }
  }

  synchronized T get() {
    try {
      final String now = identity(file);
      if (!now.equals(identity)) {
        last = reader.read(Files.readAllBytes(file));
        identity = now;
      }
      fault = "";
    } catch (IOException error) {
      final String reason = reason(error);
      if (!reason.equals(fault)) {
        fault = reason;
        Lines.printError(file + " is left as it was: " + reason);
      }
    }
    return last;
  }

  /** A text that is another one when the file was replaced or changed. */
  static String identity(Path file) throws IOException {
    final BasicFileAttributes its = Files.readAttributes(file, BasicFileAttributes.class);
    return file + " " + its.fileKey() + its.lastModifiedTime() + its.size();
  }

  /** What the exceptions of files leave out. */
  static String reason(IOException error) {
    if (error instanceof java.nio.file.NoSuchFileException) {
      return "it is not there";
    }
    if (error instanceof java.nio.file.AccessDeniedException) {
      return "it may not be read";
    }
    return String.valueOf(error.getMessage());
  }
}
