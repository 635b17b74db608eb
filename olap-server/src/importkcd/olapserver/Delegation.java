package importkcd.olapserver;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;

/** Objects that stand for others of which they change some methods. */
final class Delegation {
  private Delegation() {}

  static <T> T proxy(Class<T> type, InvocationHandler handler) {
    return type.cast(
        Proxy.newProxyInstance(Delegation.class.getClassLoader(), new Class<?>[] {type}, handler));
  }

  /** Calls a method of the object that stands behind, whose exceptions come as they are. */
  static Object call(Object target, Method method, Object[] arguments) throws Throwable {
    try {
      return method.invoke(target, arguments);
    } catch (InvocationTargetException error) {
      throw error.getCause();
    }
  }
}
