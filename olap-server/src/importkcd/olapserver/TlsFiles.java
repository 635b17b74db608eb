package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.StringReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.KeyStore;
import java.security.PrivateKey;
import java.security.Signature;
import java.security.cert.Certificate;
import java.security.cert.CertificateFactory;
import java.util.concurrent.Executors;
import java.util.concurrent.TimeUnit;
import org.bouncycastle.asn1.pkcs.PrivateKeyInfo;
import org.bouncycastle.openssl.PEMKeyPair;
import org.bouncycastle.openssl.PEMParser;
import org.bouncycastle.openssl.jcajce.JcaPEMKeyConverter;
import org.eclipse.jetty.util.ssl.SslContextFactory;

/**
 * The certificate, with those between it and its authority, and its key, from files in PEM. They are
 * looked at every few seconds, and taken anew when they have changed and belong together.
 */
final class TlsFiles {
  private static final int LOOK_SECONDS = 2;

  private final Path certificate;
  private final Path key;
  private final SslContextFactory.Server context = new SslContextFactory.Server();
  private String identity;
  private String fault = "";

  /** The exception says why they cannot be used. */
  TlsFiles(Path certificate, Path key) throws IOException {
    this.certificate = certificate;
    this.key = key;
    identity = identity();
    context.setKeyStore(keyStore());
    context.setKeyStorePassword("");
    // Which names are ours is another matter than which the certificate has; see RequestCheck.
    context.setSniRequired(false);
  }

  SslContextFactory.Server context() {
    return context;
  }

  void follow() {
    Executors.newSingleThreadScheduledExecutor(
            work -> {
              final Thread thread = new Thread(work, "tls-files");
              thread.setDaemon(true);
              return thread;
            })
        .scheduleWithFixedDelay(this::look, LOOK_SECONDS, LOOK_SECONDS, TimeUnit.SECONDS);
  }

  private void look() {
    try {
      final String now = identity();
      if (!now.equals(identity)) {
        final KeyStore fresh = keyStore();
        context.reload(factory -> factory.setKeyStore(fresh));
        identity = now;
      }
      fault = "";
    } catch (Exception error) {
      final String reason = String.valueOf(error.getMessage());
      if (!reason.equals(fault)) {
        fault = reason;
        Lines.printError("the certificate is left as it was: " + reason);
      }
    }
  }

  private String identity() throws IOException {
    try {
      return FollowedFile.identity(certificate) + FollowedFile.identity(key);
    } catch (IOException error) {
      throw new IOException(error.getMessage() + ": " + FollowedFile.reason(error), error);
    }
  }

  private KeyStore keyStore() throws IOException {
    final Certificate[] chain;
    try {
      chain =
          CertificateFactory.getInstance("X.509")
              .generateCertificates(new ByteArrayInputStream(bytes(certificate)))
              .toArray(Certificate[]::new);
    } catch (GeneralSecurityException error) {
      throw new IOException(certificate + " holds no certificate in PEM", error);
    }
    if (chain.length == 0) {
      throw new IOException(certificate + " holds no certificate in PEM");
    }
    try {
      final PrivateKey its = privateKey();
      if (!belongTogether(its, chain[0])) {
        throw new IOException(key + " is not the key of " + certificate);
      }
      final KeyStore store = KeyStore.getInstance("PKCS12");
      store.load(null, null);
      store.setKeyEntry("own", its, new char[0], chain);
      return store;
    } catch (GeneralSecurityException error) {
      throw new IOException(key + " is not the key of " + certificate, error);
    }
  }

  /** What the exceptions of the library say may hold parts of the key, and is not told. */
  private PrivateKey privateKey() throws IOException {
    final String text = new String(bytes(key), StandardCharsets.ISO_8859_1);
    try (PEMParser parser = new PEMParser(new StringReader(text))) {
      for (Object part = parser.readObject(); part != null; part = parser.readObject()) {
        if (part instanceof PrivateKeyInfo info) {
          return new JcaPEMKeyConverter().getPrivateKey(info);
        }
        if (part instanceof PEMKeyPair pair) {
          return new JcaPEMKeyConverter().getPrivateKey(pair.getPrivateKeyInfo());
        }
      }
    } catch (IOException | RuntimeException error) {
      throw new IOException(key + " holds no key in PEM that can be read");
    }
    throw new IOException(key + " holds no key without a password in PEM");
  }

  private static byte[] bytes(Path file) throws IOException {
    try {
      return Files.readAllBytes(file);
    } catch (IOException error) {
      throw new IOException(file + ": " + FollowedFile.reason(error), error);
    }
  }

  private static boolean belongTogether(PrivateKey key, Certificate certificate)
      throws GeneralSecurityException {
    final String algorithm =
        switch (key.getAlgorithm()) {
          case "RSA" -> "SHA256withRSA";
          case "EC", "ECDSA" -> "SHA256withECDSA";
          default -> key.getAlgorithm();
        };
    final byte[] text = {1, 2, 3};
    final Signature signature = Signature.getInstance(algorithm);
    signature.initSign(key);
    signature.update(text);
    final byte[] signed = signature.sign();
    signature.initVerify(certificate);
    signature.update(text);
    return signature.verify(signed);
  }
}
