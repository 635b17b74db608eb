package importkcd.olapserver;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.util.Comparator;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.Semaphore;
import java.util.concurrent.TimeUnit;
import java.util.regex.Pattern;
import javax.crypto.Mac;
import javax.crypto.spec.SecretKeySpec;
import org.bouncycastle.crypto.generators.OpenBSDBCrypt;
import org.eclipse.jetty.security.AbstractLoginService;
import org.eclipse.jetty.util.security.Credential;

/**
 * Who may log in: a file of lines NAME:HASH as htpasswd writes them, with bcrypt, followed when it
 * changes.
 *
 * <p>A name that is not there costs what a wrong password costs. A password that was right is
 * remembered as a keyed digest, together with the hash that it was right for, so that a client that
 * asks much is not made to wait for bcrypt each time.
 */
final class Users extends AbstractLoginService {
  private static final Pattern HASH = Pattern.compile("\\$2[aby]\\$([0-9]{2})\\$[./A-Za-z0-9]{53}");

  /** Of no password that anybody can give: compared with when there is no such name. */
  private static final String NOBODYS = "$2y$10$abcdefghijklmnopqrstuuXQwiR5zPhkX1sTJGfsZQAC7OyRkFv9K";

  private static final int HASHES_AT_ONCE = Math.max(1, Runtime.getRuntime().availableProcessors() / 2);
  private static final int MOST_WAITING = 8;
  private static final int LONGEST_WAIT_SECONDS = 10;

  /** A password that was right for a hash. */
  private record Verified(String hash, byte[] digest) {}

  private final FollowedFile<Map<String, String>> file;
  private final Map<String, Verified> verified = new ConcurrentHashMap<>();
  private final SecretKeySpec digestKey;
  private final Semaphore hashing = new Semaphore(HASHES_AT_ONCE, true);
  private final Metrics metrics;

  Users(Path file, Metrics metrics) throws IOException {
    this.file = new FollowedFile<>(file, Users::read);
    this.metrics = metrics;
    final byte[] random = new byte[32];
    new SecureRandom().nextBytes(random);
    digestKey = new SecretKeySpec(random, "HmacSHA256");
    setName("ImportKCD");
  }

  private static Map<String, String> read(byte[] content) throws IOException {
    final Map<String, String> hashes = new HashMap<>();
    int number = 0;
    for (final String line : new String(content, StandardCharsets.UTF_8).split("\r?\n")) {
      ++number;
      if (line.isBlank() || line.startsWith("#")) {
        continue;
      }
      final int colon = line.indexOf(':');
      if (colon < 1 || !HASH.matcher(line.substring(colon + 1)).matches()) {
        throw new IOException("line " + number + " is no name with a bcrypt hash");
      }
      hashes.put(line.substring(0, colon), line.substring(colon + 1));
    }
    return hashes;
  }

  @Override
  protected UserPrincipal loadUserInfo(String name) {
    final Map<String, String> hashes = file.get();
    final String hash = hashes.get(name);
    if (hash == null) {
      verified.remove(name);
    }
    return new UserPrincipal(name, new Password(name, hash, hash == null ? decoy(hashes) : hash));
  }

  /** As dear as the dearest of the file. */
  private static String decoy(Map<String, String> hashes) {
    return hashes.values().stream()
        .map(hash -> hash.substring(4, 6))
        .max(Comparator.naturalOrder())
        .map(cost -> NOBODYS.substring(0, 4) + cost + NOBODYS.substring(6))
        .orElse(NOBODYS);
  }

  @Override
  protected String[] loadRoleInfo(UserPrincipal user) {
    return new String[0];
  }

  private final class Password extends Credential {
    private static final long serialVersionUID = 1;

    private final String name;

    /** Null when there is no such user. */
    private final String own;

    private final String compared;

    Password(String name, String own, String compared) {
      this.name = name;
      this.own = own;
      this.compared = compared;
    }

    @Override
    public boolean check(Object given) {
      final String password = String.valueOf(given);
      final byte[] digest = digest(password);
      final Verified known = verified.get(name);
      if (own != null
          && known != null
          && known.hash().equals(own)
          && MessageDigest.isEqual(known.digest(), digest)) {
        return true;
      }
      final boolean right = hashed(password, compared) && own != null;
      if (right) {
        verified.put(name, new Verified(own, digest));
      }
      metrics.login(right);
      return right;
    }
  }

  private byte[] digest(String password) {
    try {
      final Mac mac = Mac.getInstance("HmacSHA256");
      mac.init(digestKey);
      return mac.doFinal(password.getBytes(StandardCharsets.UTF_8));
    } catch (GeneralSecurityException error) {
      throw new IllegalStateException(error);
    }
  }

  /** Guessers get a part of the processors only, and are sent away when too many of them wait. */
  private boolean hashed(String password, String hash) {
    try {
      if (hashing.getQueueLength() >= MOST_WAITING
          || !hashing.tryAcquire(LONGEST_WAIT_SECONDS, TimeUnit.SECONDS)) {
        return false;
      }
    } catch (InterruptedException error) {
      Thread.currentThread().interrupt();
      return false;
    }
    try {
      metrics.passwordHashed();
      return OpenBSDBCrypt.checkPassword(hash, password.toCharArray());
    } finally {
      hashing.release();
    }
  }
}
