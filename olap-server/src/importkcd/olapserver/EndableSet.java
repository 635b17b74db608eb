package importkcd.olapserver;

import java.util.Iterator;
import java.util.List;
import mondrian.calc.TupleCursor;
import mondrian.calc.TupleIterable;
import mondrian.calc.TupleIterator;
import mondrian.olap.Evaluator;
import mondrian.olap.Member;

/** A set that is made one tuple after the other, and checks every so often whether to go on. */
final class EndableSet implements TupleIterable {
  private static final int TUPLES_BETWEEN_CHECKS = 1024;

  private final TupleIterable set;
  private final Runnable check;

  EndableSet(TupleIterable set, Runnable check) {
    this.set = set;
    this.check = check;
  }

  @Override
  public TupleIterator tupleIterator() {
    return new Tuples(set.tupleIterator());
  }

  @Override
  public TupleCursor tupleCursor() {
    return new Cursor(set.tupleCursor());
  }

  @Override
  public int getArity() {
    return set.getArity();
  }

  @Override
  public Iterable<Member> slice(int column) {
    final Iterable<Member> slice = set.slice(column);
    return () -> new Members(slice.iterator());
  }

  @Override
  public Iterator<List<Member>> iterator() {
    return tupleIterator();
  }

  /** Counts the steps. */
  private class Steps {
    private int count;

    void step() {
      if (++count % TUPLES_BETWEEN_CHECKS == 0) {
        check.run();
      }
    }
  }

  private final class Members extends Steps implements Iterator<Member> {
    private final Iterator<Member> members;

    Members(Iterator<Member> members) {
      this.members = members;
    }

    @Override
    public boolean hasNext() {
      return members.hasNext();
    }

    @Override
    public Member next() {
      step();
      return members.next();
    }
  }

  private class Cursor extends Steps implements TupleCursor {
    private final TupleCursor cursor;

    Cursor(TupleCursor cursor) {
      this.cursor = cursor;
    }

    @Override
    public boolean forward() {
      step();
      return cursor.forward();
    }

    @Override
    public void setContext(Evaluator evaluator) {
      cursor.setContext(evaluator);
    }

    @Override
    public List<Member> current() {
      return cursor.current();
    }

    @Override
    public int getArity() {
      return cursor.getArity();
    }

    @Override
    public Member member(int column) {
      return cursor.member(column);
    }

    @Override
    public void currentToArray(Member[] members, int offset) {
      cursor.currentToArray(members, offset);
    }
  }

  private final class Tuples extends Cursor implements TupleIterator {
    private final TupleIterator tuples;

    Tuples(TupleIterator tuples) {
      super(tuples);
      this.tuples = tuples;
    }

    @Override
    public boolean hasNext() {
      return tuples.hasNext();
    }

    @Override
    public List<Member> next() {
      step();
      return tuples.next();
    }
  }
}
