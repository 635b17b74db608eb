package importkcd.olapserver;

import java.io.IOException;
import java.nio.file.Files;
import java.lang.ref.WeakReference;
import java.lang.reflect.Field;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import mondrian.olap.MondrianServer;
import mondrian.olap.Util;
import mondrian.rolap.RolapSchema;
import mondrian.rolap.agg.SegmentCacheManager;
import mondrian.spi.SegmentHeader;
import mondrian.util.ByteString;

/**
 * Makes the engine forget the schemas that no published file holds any more. It knows a schema by
 * its content, so that a new publication is a new schema to it; the figures that it remembers keep
 * the old one in memory for good.
 */
final class ReplacedSchemas {
  private final MondrianServer server;
  private final PublishedContent content;

  /** What tells whether a file was replaced, for all files. */
  private List<String> known = List.of();

  /** Forgotten, but a question that was on its way may have brought figures back. */
  private final List<WeakReference<RolapSchema>> forgotten = new ArrayList<>();

  ReplacedSchemas(MondrianServer server, PublishedContent content) {
    this.server = server;
    this.content = content;
  }

  /** Looks at the files, and when one of them is another one than before, forgets the others' schemas. */
  synchronized void forget() {
    final Set<Warehouse> replaced = Warehouses.renew();
    for (final RolapSchema schema : replaced.isEmpty() ? List.<RolapSchema>of() : RolapSchema.getRolapSchemas()) {
      if (schema.getInternalConnection().getDataSource() instanceof Warehouse its && replaced.contains(its)) {
        forget(schema);
      }
    }
    final List<PublishedContent.Published> catalogues = content.published();
    final List<String> now = new ArrayList<>();
    catalogues.forEach(catalogue -> now.add(identity(catalogue)));
    if (now.equals(known)) {
      return;
    }
    try {
      final Set<ByteString> published = new HashSet<>();
      for (final PublishedContent.Published catalogue : catalogues) {
        published.add(checksum(catalogue));
      }
      for (final RolapSchema schema : RolapSchema.getRolapSchemas()) {
        if (!published.contains(schema.getChecksum())) {
          forgotten.add(new WeakReference<>(schema));
        }
      }
      forgotten.removeIf(schema -> !forget(schema.get()));
      known = now;
    } catch (IOException | RuntimeException error) {
      // A file that is missing is told to whoever asks its catalogue; the next look is the next try.
    }
  }

  /** Forgets a catalogue's figures: the warehouse has others now. */
  synchronized void forgetFigures(PublishedContent.Published catalogue) throws IOException {
    final ByteString checksum = checksum(catalogue);
    for (final RolapSchema schema : RolapSchema.getRolapSchemas()) {
      if (checksum.equals(schema.getChecksum())) {
        forget(schema);
      }
    }
  }

  private ByteString checksum(PublishedContent.Published catalogue) throws IOException {
    final String reduced = content.reduced(catalogue);
    return new ByteString(
        Util.digestMd5(
            reduced == null
                ? Files.readString(catalogue.schema())
                : reduced));
  }

  /** Whether there was anything left to forget. */
  private boolean forget(RolapSchema schema) {
    if (schema == null) {
      return false;
    }
    schema.getInternalConnection().getCacheControl(null).flushSchema(schema);
    forgetFigures(server.getAggregationManager().cacheMgr, schema.getChecksum());
    return true;
  }

  /** Flushing reaches only what the engine did for itself, not what it did for those who ask. */
  private static void forgetFigures(SegmentCacheManager figures, ByteString schema) {
    for (final SegmentHeader header : figures.compositeCache.getSegmentHeaders()) {
      if (schema.equals(header.schemaChecksum)) {
        figures.compositeCache.remove(header);
      }
    }
    indexes(figures.getIndexRegistry()).remove(schema);
  }

  /** What is known about the figures of each schema; it leads to the schema. */
  private static Map<?, ?> indexes(Object registry) {
    try {
      final Field indexes = registry.getClass().getDeclaredField("indexes");
      indexes.setAccessible(true);
      return (Map<?, ?>) indexes.get(registry);
    } catch (ReflectiveOperationException error) {
      throw new IllegalStateException(error);
    }
  }

  private String identity(PublishedContent.Published catalogue) {
    final String reduced = content.reduced(catalogue);
    try {
      return FollowedFile.identity(catalogue.schema()) + (reduced == null ? "" : reduced.hashCode());
    } catch (IOException error) {
      return catalogue.schema().toString();
    }
  }
}
