package importkcd.olapserver;

import java.nio.file.Path;
import java.sql.Driver;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import java.util.Iterator;
import java.util.List;
import java.util.Map;
import java.util.ServiceConfigurationError;
import java.util.ServiceLoader;
import java.util.Set;
import javax.sql.DataSource;
import mondrian.olap.Util;
import mondrian.spi.DataSourceResolver;

/**
 * The data warehouses of the published catalogues. The engine gets names for their connections
 * instead of addresses and passwords, and asks for them here: it makes an object of this class.
 */
public final class Warehouses implements DataSourceResolver {
  private static final Map<String, Warehouse> BY_NAME = new HashMap<>();
  private static final Map<Map<String, String>, String> NAMES = new HashMap<>();

  /**
   * Puts a name in place of what a connect string of the engine says about a JDBC connection. The
   * same connection has the same name always. A connect string without one stays.
   */
  static String named(String connectString) {
    final Util.PropertyList properties = Util.parseConnectString(connectString);
    if (properties.get("Jdbc") == null) {
      return connectString;
    }
    final Map<String, String> connection = new HashMap<>();
    for (final String key : new String[] {"Jdbc", "JdbcDrivers", "JdbcUser", "JdbcPassword", "Warehouse"}) {
      connection.put(key, properties.get(key));
      properties.remove(key);
    }
    properties.put("DataSource", name(connection));
    return properties.toString();
  }

  /** The warehouse of a connect string with a name in it; null when it has none. */
  static synchronized Warehouse of(String connectString) {
    return BY_NAME.get(Util.parseConnectString(connectString).get("DataSource"));
  }

  /** Tells each warehouse which schemas are published over it. */
  static synchronized void serve(List<PublishedContent.Published> catalogues) {
    final Map<Warehouse, List<Path>> schemas = new HashMap<>();
    BY_NAME.values().forEach(warehouse -> schemas.put(warehouse, new ArrayList<>()));
    for (final PublishedContent.Published catalogue : catalogues) {
      final Warehouse its = of(catalogue.connection());
      if (its != null) {
        schemas.get(its).add(catalogue.schema());
      }
    }
    schemas.forEach(Warehouse::serve);
  }

  private static synchronized String name(Map<String, String> connection) {
    return NAMES.computeIfAbsent(
        connection,
        its -> {
          final String name = "warehouse-" + (NAMES.size() + 1);
          BY_NAME.put(name, new Warehouse(its));
          return name;
        });
  }

  /**
   * Puts fresh objects in the places of warehouses that had become unusable and work again. Gives
   * those that they replace.
   */
  static synchronized Set<Warehouse> renew() {
    final Set<Warehouse> replaced = new HashSet<>();
    BY_NAME.replaceAll(
        (name, warehouse) -> {
          final Warehouse fresh = warehouse.renewed();
          if (fresh != null) {
            replaced.add(warehouse);
          }
          return fresh == null ? warehouse : fresh;
        });
    return replaced;
  }

  /**
   * Makes the drivers of the class path known. The system does that, too, but stops at the first one
   * that is broken, which one of the engine's own libraries has.
   */
  static void loadDrivers() {
    final Iterator<Driver> drivers = ServiceLoader.load(Driver.class).iterator();
    for (boolean isThereMore = true; isThereMore; ) {
      try {
        isThereMore = drivers.hasNext();
        if (isThereMore) {
          drivers.next();
        }
      } catch (ServiceConfigurationError | LinkageError error) {
        // The others may be better.
      }
    }
  }

  @Override
  public DataSource lookup(String name) {
    synchronized (Warehouses.class) {
      return BY_NAME.get(name);
    }
  }
}
