"""Signatures, where the environment names a key. What is signed is verified: a file whose signature
doesn't hold fails the build. Files for Windows:

  PLEXUM_SIGN_CERTIFICATE    PKCS#12 (.p12, .pfx), or a PEM chain with PLEXUM_SIGN_KEY beside it
  PLEXUM_SIGN_KEY            the private key of a PEM chain
  PLEXUM_SIGN_PASSWORD_FILE  (optional) a file with the password of the key
  PLEXUM_SIGN_CA             PEM, the roots by which signatures are verified; a PEM chain that ends
                             with its root needs none
  PLEXUM_SIGN_TIMESTAMP_URL  (optional) a time stamping server: signatures outlive the certificate,
                             and two runs no longer give the same bytes

The sums and the package for Debian get a signature beside them, FILE.asc:

  PLEXUM_SIGN_GPG_KEY        the key's fingerprint, in the keyring of gpg
"""
import os
import pathlib
import subprocess
import sys


def run(*command):
    done = subprocess.run(command, check=False, stdin=subprocess.DEVNULL, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        sys.exit(f"signing: {' '.join(map(str, command[:2]))}: {done.stdout}")


class Certificate:
    """Signs files for Windows in place."""

    def __init__(self, environment):
        get = environment.get
        certificate = environment["PLEXUM_SIGN_CERTIFICATE"]
        roots = get("PLEXUM_SIGN_CA")
        if pathlib.Path(certificate).suffix.lower() in (".p12", ".pfx"):
            self.options = ["-pkcs12", certificate]
        elif get("PLEXUM_SIGN_KEY"):
            self.options = ["-certs", certificate, "-key", get("PLEXUM_SIGN_KEY")]
            roots = roots or certificate
        else:
            sys.exit("signing: PLEXUM_SIGN_KEY names no key for the PEM certificate")
        if not roots:
            sys.exit("signing: PLEXUM_SIGN_CA names no roots to verify the signatures by")
        if get("PLEXUM_SIGN_PASSWORD_FILE"):
            self.options += ["-readpass", get("PLEXUM_SIGN_PASSWORD_FILE")]
        if get("PLEXUM_SIGN_TIMESTAMP_URL"):
            self.options += ["-ts", get("PLEXUM_SIGN_TIMESTAMP_URL")]
        self.options += ["-h", "sha256", "-n", "PlexumLink"]
        self.options += ["-time", environment["SOURCE_DATE_EPOCH"]]
        self.roots = ["-CAfile", roots, "-TSA-CAfile", roots]

    def sign(self, path):
        signed = path.with_name(f"{path.name}.signed")
        run("osslsigncode", "sign", *self.options, "-in", path, "-out", signed)
        run("osslsigncode", "verify", *self.roots, "-in", signed)
        os.replace(signed, path)


def certificate():
    """None where no certificate is given."""
    return Certificate(os.environ) if os.environ.get("PLEXUM_SIGN_CERTIFICATE") else None


def sign_beside(path):
    """Does nothing where no key is given."""
    key = os.environ.get("PLEXUM_SIGN_GPG_KEY")
    if not key:
        return
    signature = path.with_name(f"{path.name}.asc")
    run("gpg", "--batch", "--yes", "--faked-system-time", os.environ["SOURCE_DATE_EPOCH"] + "!",
        "--local-user", key, "--armor", "--detach-sign", "--output", signature, path)
    run("gpg", "--batch", "--verify", signature, path)
