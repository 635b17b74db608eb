package importkcd.olapserver;

import java.lang.ref.SoftReference;
import java.lang.reflect.Array;
import java.util.ArrayList;
import java.util.Iterator;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.SortedSet;
import java.util.concurrent.CopyOnWriteArrayList;
import mondrian.spi.SegmentBody;
import mondrian.spi.SegmentCache;
import mondrian.spi.SegmentColumn;
import mondrian.spi.SegmentHeader;

/**
 * The figures that the engine keeps for later questions, within a share of the heap: when they take
 * more, those that were not needed for the longest time go. The engine's own cache lets figures go
 * when memory is short, but keeps for good what each of them was about, until that fills the heap.
 */
final class KeptFigures implements SegmentCache {
  /** What a segment takes without its figures: its description, here and in the engine's indexes. */
  private static final long DESCRIPTION_BYTES = 5000;

  private static final long VALUE_BYTES = 64;
  private static final long CELL_BYTES = 64;

  /** The figures about one region, and the estimate of the memory that they take. */
  private record Kept(SoftReference<SegmentBody> body, long bytes) {}

  private record Evicted(SegmentHeader getSource) implements SegmentCacheListener.SegmentCacheEvent {
    @Override
    public EventType getEventType() {
      return EventType.ENTRY_DELETED;
    }

    /** The engine itself has not asked for it, and is to listen. */
    @Override
    public boolean isLocal() {
      return false;
    }
  }

  private final long limit;
  private final List<SegmentCacheListener> listeners = new CopyOnWriteArrayList<>();

  /** Those that were needed last are the last; guarded by this object. */
  private final Map<SegmentHeader, Kept> figures = new LinkedHashMap<>(16, 0.75F, true);

  private long bytes;

  /** Keeps figures of so many bytes, by estimate, and always the newest. */
  KeptFigures(long limit) {
    this.limit = limit;
  }

  @Override
  public synchronized SegmentBody get(SegmentHeader header) {
    final Kept kept = figures.get(header);
    final SegmentBody body = kept == null ? null : kept.body.get();
    if (body == null) {
      remove(header);
    }
    return body;
  }

  @Override
  public synchronized List<SegmentHeader> getSegmentHeaders() {
    return new ArrayList<>(figures.keySet());
  }

  @Override
  public boolean put(SegmentHeader header, SegmentBody body) {
    final List<SegmentHeader> evicted;
    synchronized (this) {
      remove(header);
      final Kept kept = new Kept(new SoftReference<>(body), bytesOf(header, body));
      figures.put(header, kept);
      bytes += kept.bytes;
      evicted = evict();
    }
    // Each listener waits for the engine, which may be waiting for this object.
    for (final SegmentHeader gone : evicted) {
      listeners.forEach(listener -> listener.handle(new Evicted(gone)));
    }
    return true;
  }

  @Override
  public synchronized boolean remove(SegmentHeader header) {
    final Kept removed = figures.remove(header);
    if (removed != null) {
      bytes -= removed.bytes;
    }
    return removed != null;
  }

  @Override
  public synchronized void tearDown() {
    figures.clear();
    bytes = 0;
    listeners.clear();
  }

  @Override
  public void addListener(SegmentCacheListener listener) {
    listeners.add(listener);
  }

  @Override
  public void removeListener(SegmentCacheListener listener) {
    listeners.remove(listener);
  }

  /** What it holds is also found by regions that have a part of it. */
  @Override
  public boolean supportsRichIndex() {
    return true;
  }

  private List<SegmentHeader> evict() {
    final List<SegmentHeader> evicted = new ArrayList<>();
    final Iterator<Map.Entry<SegmentHeader, Kept>> eldest = figures.entrySet().iterator();
    while (bytes > limit && figures.size() > 1) {
      final Map.Entry<SegmentHeader, Kept> entry = eldest.next();
      evicted.add(entry.getKey());
      bytes -= entry.getValue().bytes;
      eldest.remove();
    }
    return evicted;
  }

  private static long bytesOf(SegmentHeader header, SegmentBody body) {
    long values = 0;
    for (final SegmentColumn column : header.getConstrainedColumns()) {
      values += column.getValues() == null ? 0 : column.getValues().size();
    }
    for (final SortedSet<?> axis : body.getAxisValueSets()) {
      values += axis.size();
    }
    return DESCRIPTION_BYTES + VALUE_BYTES * values + CELL_BYTES * cells(body);
  }

  private static long cells(SegmentBody body) {
    try {
      return Array.getLength(body.getValueArray());
    } catch (UnsupportedOperationException sparse) {
      return body.getValueMap().size();
    }
  }
}
