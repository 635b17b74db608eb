package importkcd.olapserver;

import java.lang.reflect.Field;
import java.util.List;
import mondrian.calc.Calc;
import mondrian.calc.CalcWriter;
import mondrian.calc.ExpCompiler;
import mondrian.calc.IterCalc;
import mondrian.calc.ListCalc;
import mondrian.calc.ResultStyle;
import mondrian.calc.TupleIterable;
import mondrian.calc.TupleList;
import mondrian.calc.impl.BetterExpCompiler;
import mondrian.olap.Evaluator;
import mondrian.olap.Exp;
import mondrian.olap.Hierarchy;
import mondrian.olap.Validator;
import mondrian.olap.type.Type;
import mondrian.rolap.RolapConnection;
import mondrian.server.Locus;
import mondrian.server.Statement;

/**
 * Makes computations that notice when they are to end. By itself this release of the engine looks
 * between cells and between statements only, so that sums inside of sums went on for years after
 * their client had left and their time was over. Here every set looks, each time that it is made.
 *
 * <p>The engine makes an object of this class for each question.
 */
public final class EndableCompiler extends BetterExpCompiler {
  /** What the engine calls. */
  public EndableCompiler(Evaluator evaluator, Validator validator, List<ResultStyle> styles) {
    super(evaluator, validator, styles);
    final Question question = Question.current();
    if (question != null && evaluator != null && evaluator.getQuery() != null) {
      final Statement statement = evaluator.getQuery().getStatement();
      if (statement != null && !isInternal(statement)) {
        question.add(statement);
      }
    }
  }

  /**
   * Lets the engine use this class. It looks for a constructor that takes an array of styles, calls
   * it with a list, and so could use no compiler but its own: the array of the types that it looks
   * for is put right.
   */
  static void install() throws ReflectiveOperationException {
    System.setProperty("mondrian.calc.ExpCompiler.class", EndableCompiler.class.getName());
    final Field types = ExpCompiler.Factory.class.getDeclaredField("CLASS_ARRAY");
    types.setAccessible(true);
    ((Object[]) types.get(null))[2] = List.class;
  }

  /** A schema's own statement serves everybody's questions. */
  private static boolean isInternal(Statement statement) {
    final RolapConnection connection = statement.getMondrianConnection();
    return connection == null || connection == connection.getSchema().getInternalConnection();
  }

  @Override
  public IterCalc compileIter(Exp exp) {
    final IterCalc calc = super.compileIter(exp);
    return calc instanceof ListCalc list ? new EndableList(list) : new EndableIter(calc);
  }

  @Override
  public ListCalc compileList(Exp exp, boolean mutable) {
    return new EndableList(super.compileList(exp, mutable));
  }

  private static void check() {
    Locus.peek().execution.checkCancelOrTimeout();
  }

  private static class EndableIter implements IterCalc {
    private final IterCalc calc;

    EndableIter(IterCalc calc) {
      this.calc = calc;
    }

    @Override
    public TupleIterable evaluateIterable(Evaluator evaluator) {
      check();
      final TupleIterable set = calc.evaluateIterable(evaluator);
      // Lists are all there; anything else is made one by one, and may be endless.
      return set instanceof TupleList ? set : new EndableSet(set, EndableCompiler::check);
    }

    @Override
    public Object evaluate(Evaluator evaluator) {
      return evaluateIterable(evaluator);
    }

    @Override
    public boolean dependsOn(Hierarchy hierarchy) {
      return calc.dependsOn(hierarchy);
    }

    @Override
    public Type getType() {
      return calc.getType();
    }

    @Override
    public void accept(CalcWriter writer) {
      calc.accept(writer);
    }

    @Override
    public ResultStyle getResultStyle() {
      return calc.getResultStyle();
    }

    @Override
    public boolean isWrapperFor(Class<?> type) {
      return calc.isWrapperFor(type);
    }

    @Override
    public <T> T unwrap(Class<T> type) {
      return calc.unwrap(type);
    }
  }

  private static final class EndableList extends EndableIter implements ListCalc {
    private final ListCalc calc;

    EndableList(ListCalc calc) {
      super(calc);
      this.calc = calc;
    }

    @Override
    public TupleList evaluateList(Evaluator evaluator) {
      check();
      return calc.evaluateList(evaluator);
    }

    @Override
    public Object evaluate(Evaluator evaluator) {
      return evaluateList(evaluator);
    }
  }
}
