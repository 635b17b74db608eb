package importkcd.olapserver;

import java.io.IOException;
import java.net.URI;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.BasicFileAttributes;
import java.util.ArrayList;
import java.util.Collections;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.WeakHashMap;
import java.util.function.Supplier;
import mondrian.olap.Util;
import mondrian.rolap.RolapSchema;
import mondrian.util.ByteString;

/**
 * Makes the engine forget the schemas that no published file holds any more. It knows a schema by
 * its content, so that a new publication is a new schema to it; the figures that it remembers keep
 * the old one in memory for good.
 */
final class ReplacedSchemas {
  private final Supplier<List<String>> addresses;

  /** What tells whether a file was replaced, for all files. */
  private List<String> known = List.of();

  /** Forgotten, but a question that was on its way may have brought figures back. */
  private final Set<RolapSchema> forgotten = Collections.newSetFromMap(new WeakHashMap<>());

  /** Takes what gives the addresses of the schemas' files. */
  ReplacedSchemas(Supplier<List<String>> addresses) {
    this.addresses = addresses;
  }

  /** Looks at the files, and when one of them is another one than before, forgets the others' schemas. */
  synchronized void forget() {
    final List<String> files = addresses.get();
    final List<String> now = new ArrayList<>();
    files.forEach(file -> now.add(identity(file)));
    if (now.equals(known)) {
      return;
    }
    try {
      final Set<ByteString> published = new HashSet<>();
      for (final String file : files) {
        published.add(new ByteString(Util.digestMd5(Util.readVirtualFileAsString(file))));
      }
      for (final RolapSchema schema : RolapSchema.getRolapSchemas()) {
        if (!published.contains(schema.getChecksum())) {
          forgotten.add(schema);
        }
      }
      List.copyOf(forgotten).forEach(ReplacedSchemas::forget);
      known = now;
    } catch (IOException | RuntimeException error) {
      // A file that is missing is told to whoever asks its catalogue; the next look is the next try.
    }
  }

  private static void forget(RolapSchema schema) {
    schema.getInternalConnection().getCacheControl(null).flushSchema(schema);
  }

  private static String identity(String address) {
    try {
      final BasicFileAttributes file =
          Files.readAttributes(Path.of(URI.create(address)), BasicFileAttributes.class);
      return address + file.fileKey() + file.lastModifiedTime() + file.size();
    } catch (IOException | IllegalArgumentException error) {
      return address;
    }
  }
}
