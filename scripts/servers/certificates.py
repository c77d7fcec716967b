"""A private certificate authority for servers of one's own, and certificates that are good or wrong in one way.

Everything is made with the openssl command below one directory:
ca.pem          the authority, for clients to trust
NAME.pem        certificate and key of one server
"""

import pathlib
import subprocess

KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]


def openssl(*arguments, stdin=None):
    result = subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise RuntimeError(f"openssl {arguments[0]}: {result.stderr}")


def make_authority(folder, name="ca"):
    """Makes the authority `name` in the folder unless it is there."""
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    if not (folder / f"{name}.pem").exists():
        openssl("req", "-x509", *KEY, "-days", "3650", "-subj", f"/CN=Private authority {name}",
                "-addext", "basicConstraints=critical,CA:TRUE", "-addext", "keyUsage=critical,keyCertSign",
                "-keyout", str(folder / f"{name}.key"), "-out", str(folder / f"{name}.pem"))
    return folder / f"{name}.pem"


def make_certificate(folder, name, hosts=("localhost",), authority="ca", expired=False):
    """Makes NAME.pem, certificate and key, for host names and addresses; `authority` None signs it by itself."""
    folder = pathlib.Path(folder)
    alternatives = ",".join(("IP:" if host.replace(".", "").isdigit() else "DNS:") + host for host in hosts)
    request, key, made = folder / f"{name}.csr", folder / f"{name}.key", folder / f"{name}.crt"
    openssl("req", "-new", *KEY, "-subj", f"/CN={hosts[0]}", "-keyout", str(key), "-out", str(request))
    signer = ["-CA", str(folder / f"{authority}.pem"), "-CAkey", str(folder / f"{authority}.key"),
              "-CAcreateserial"] if authority else ["-signkey", str(key)]
    extensions = folder / f"{name}.ext"
    extensions.write_text(f"subjectAltName={alternatives}\n")
    # openssl x509 has no start date: a negative number of days makes a certificate that has ended.
    openssl("x509", "-req", "-in", str(request), *signer, "-days", "-1" if expired else "3650",
            "-extfile", str(extensions), "-out", str(made))
    chain = made.read_text() + ((folder / f"{authority}.pem").read_text() if authority else "")
    (folder / f"{name}.pem").write_text(key.read_text() + chain)  # the order that Postfix wants
    return folder / f"{name}.pem"


def make_usual(folder):
    """The authority, and certificates for localhost: good, expired, other (for another name), unknown (of an authority
    that nothing trusts), self (signed by itself), changed (good, and not the same)."""
    make_authority(folder)
    make_authority(folder, "stranger")
    for name, more in (("good", {}), ("changed", {}), ("expired", {"expired": True}),
                       ("other", {"hosts": ("mail.example.org", "pop.example.org")}),
                       ("unknown", {"authority": "stranger"}), ("self", {"authority": None})):
        if not (pathlib.Path(folder) / f"{name}.pem").exists():
            make_certificate(folder, name, **more)
