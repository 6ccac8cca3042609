#!/usr/bin/env python3
"""signing.py FILE: signs a file for Windows in place, with the certificate that the environment names:

  PLEXUM_SIGN_CERTIFICATE    PKCS#12 (.p12, .pfx), or a PEM chain with PLEXUM_SIGN_KEY beside it
  PLEXUM_SIGN_KEY            the private key of a PEM chain
  PLEXUM_SIGN_PASSWORD_FILE  (optional) a file with the password of the key
  PLEXUM_SIGN_TIMESTAMP_URL  (optional) a time stamping server: signatures outlive the certificate,
                             and two runs no longer give the same bytes
"""
import os
import pathlib
import subprocess
import sys


class Signing:
    def __init__(self, environment):
        get = environment.get
        certificate = environment["PLEXUM_SIGN_CERTIFICATE"]
        if pathlib.Path(certificate).suffix.lower() in (".p12", ".pfx"):
            self.options = ["-pkcs12", certificate]
        elif get("PLEXUM_SIGN_KEY"):
            self.options = ["-certs", certificate, "-key", get("PLEXUM_SIGN_KEY")]
        else:
            sys.exit("signing: PLEXUM_SIGN_KEY names no key for the PEM certificate")
        if get("PLEXUM_SIGN_PASSWORD_FILE"):
            self.options += ["-readpass", get("PLEXUM_SIGN_PASSWORD_FILE")]
        if get("PLEXUM_SIGN_TIMESTAMP_URL"):
            self.options += ["-ts", get("PLEXUM_SIGN_TIMESTAMP_URL")]
        self.options += ["-h", "sha256", "-n", "PlexumLink"]
        self.options += ["-time", environment["SOURCE_DATE_EPOCH"]]

    # For makensis, which signs the uninstaller that it packs.
    command = [sys.executable, os.path.abspath(__file__)]

    def sign(self, path):
        signed = f"{path}.signed"
        done = subprocess.run(["osslsigncode", "sign", *self.options, "-in", path, "-out", signed],
                              check=False, capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"signing: {path}: {done.stdout}{done.stderr}")
        os.replace(signed, path)


def from_environment():
    """None where no certificate is given."""
    return Signing(os.environ) if os.environ.get("PLEXUM_SIGN_CERTIFICATE") else None


if __name__ == "__main__":
    Signing(os.environ).sign(sys.argv[1])
