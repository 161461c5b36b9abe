#!/usr/bin/env python3
"""A throwaway directory server for the worker's tests, the demo and the
benchmark: Debian's slapd with the schema beside this file, on 127.0.0.1 with a
port of its own, its configuration and database under a work folder, stopped
by the process id this script started (never the system's instance).

    directory.py run --work DIR [--ldif FILE]... [--generate S,D,M] -- CMD...
        starts the server, loads the LDIF (files, or an organisation of S
        servers, D databases and M mailboxes), runs CMD with
        KEL_DIRECTORY_SERVER=127.0.0.1:PORT, stops the server and exits
        with CMD's exit code.
    directory.py down -- CMD...
        runs CMD with KEL_DIRECTORY_SERVER naming a port where nothing listens.
    directory.py generate S,D,M
        writes the generated organisation as LDIF to standard output.
"""
import argparse
import base64
import os
import shutil
import signal
import socket
import subprocess
import sys
import time
import uuid

HERE = os.path.dirname(os.path.abspath(__file__))
SUFFIX = "DC=corp,DC=example"
ADMIN_DN = "CN=admin," + SUFFIX
ADMIN_PASSWORD = "secret"


def free_port():
    """A port nothing listens on right now (the kernel's choice)."""
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def write_config(work, token):
    os.makedirs(os.path.join(work, "db"), exist_ok=True)
    with open(os.path.join(work, "rootdse.ldif"), "w") as f:
        f.write("dn:\n"
                "configurationNamingContext: CN=Configuration,%s\n"
                "defaultNamingContext: %s\n"
                "dnsHostName: dc01.corp.example\n"
                "description: %s\n" % (SUFFIX, SUFFIX, token))
    config = os.path.join(work, "slapd.conf")
    with open(config, "w") as f:
        f.write("""include /etc/ldap/schema/core.schema
include {here}/exchange.schema
pidfile {work}/slapd.pid
argsfile {work}/slapd.args
modulepath /usr/lib/ldap
moduleload back_mdb
rootDSE {work}/rootdse.ldif
# The default size limit of 500 would cut paged searches too.
sizelimit size.soft=1000 size.hard=1000 size.prtotal=unlimited
database mdb
maxsize 1073741824
suffix "{suffix}"
rootdn "{admin}"
rootpw {password}
directory {work}/db
index objectClass eq
index homeMDB eq
""".format(here=HERE, work=work, suffix=SUFFIX, admin=ADMIN_DN, password=ADMIN_PASSWORD))
    return config


class Directory:
    def __init__(self, work):
        self.work = os.path.abspath(work)
        self.process = None
        self.port = None

    def start(self, ldif_text):
        shutil.rmtree(self.work, ignore_errors=True)
        os.makedirs(self.work)
        token = "kel-directory-" + uuid.uuid4().hex
        config = write_config(self.work, token)
        subprocess.run(["slaptest", "-Q", "-u", "-f", config], check=True)
        ldif = os.path.join(self.work, "organisation.ldif")
        with open(ldif, "w", encoding="utf-8") as f:
            f.write(ldif_text)
        subprocess.run(["slapadd", "-q", "-f", config, "-b", SUFFIX, "-l", ldif], check=True)
        for _ in range(5):  # a port taken between our probe and slapd's bind: try another
            self.port = free_port()
            self.process = subprocess.Popen(
                ["slapd", "-f", config, "-h", "ldap://127.0.0.1:%d/" % self.port, "-d", "0"],
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            if self._wait_ready(token):
                return self.port
            self.stop()
        raise RuntimeError("slapd did not start")

    def _wait_ready(self, token):
        # Our own token in the root DSE: another server on the port would not have it.
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline:
            if self.process.poll() is not None:
                return False
            probe = subprocess.run(
                ["ldapsearch", "-x", "-LLL", "-H", "ldap://127.0.0.1:%d/" % self.port,
                 "-b", "", "-s", "base", "description"],
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
            if token in probe.stdout:
                return True
            time.sleep(0.05)
        return False

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()


def guid(seed):
    """objectGUID as LDIF: 16 bytes from a name, the same on every run."""
    return base64.b64encode(uuid.uuid5(uuid.NAMESPACE_URL, seed).bytes_le).decode()


def generated_organisation(servers, databases, mailboxes, org="Generated Org"):
    """An organisation of `servers` mailbox servers holding `databases`
    databases between them, and `mailboxes` users spread over the databases."""
    config = "CN=Configuration," + SUFFIX
    org_dn = "CN=%s,CN=Microsoft Exchange,CN=Services,%s" % (org, config)
    group = "CN=Exchange Administrative Group (FYDIBOHF23SPDLT),CN=Administrative Groups," + org_dn
    out = []

    def entry(dn, *lines):
        out.append("dn: %s\n%s\n" % (dn, "\n".join(lines)))

    entry(SUFFIX, "objectClass: domainDNS", "dc: corp")
    entry("CN=Users," + SUFFIX, "objectClass: container", "cn: Users")
    entry(config, "objectClass: container", "cn: Configuration")
    entry("CN=Services," + config, "objectClass: container", "cn: Services")
    entry("CN=Microsoft Exchange,CN=Services," + config,
          "objectClass: msExchConfigurationContainer", "cn: Microsoft Exchange")
    entry(org_dn, "objectClass: msExchOrganizationContainer", "cn: " + org,
          "objectGUID:: " + guid(org))
    entry("CN=Administrative Groups," + org_dn, "objectClass: container", "cn: Administrative Groups")
    entry(group, "objectClass: msExchAdminGroup", "cn: Exchange Administrative Group (FYDIBOHF23SPDLT)")
    entry("CN=Servers," + group, "objectClass: container", "cn: Servers")
    entry("CN=Databases," + group, "objectClass: container", "cn: Databases")
    entry("CN=Transport Settings," + org_dn, "objectClass: msExchTransportSettings",
          "cn: Transport Settings", "submissionContLength: 10240", "delivContLength: 10240",
          "msExchRecipLimit: 500")
    entry("CN=Accepted Domains,CN=Transport Settings," + org_dn, "objectClass: container",
          "cn: Accepted Domains")
    entry("CN=corp.example,CN=Accepted Domains,CN=Transport Settings," + org_dn,
          "objectClass: msExchAcceptedDomain", "cn: corp.example",
          "msExchAcceptedDomainName: corp.example", "msExchAcceptedDomainFlags: 4")
    for s in range(servers):
        name = "EX%02d" % (s + 1)
        entry("CN=%s,CN=Servers,%s" % (name, group), "objectClass: msExchExchangeServer",
              "cn: " + name, "objectGUID:: " + guid(name),
              "networkAddress: ncacn_ip_tcp:%s.corp.example" % name.lower(),
              "networkAddress: netbios:" + name, "msExchCurrentServerRoles: 38",
              "serialNumber: Version 15.1 (Build 2507.6)", "versionNumber: 1942061571")
    for d in range(databases):
        name = "DB%03d" % (d + 1)
        entry("CN=%s,CN=Databases,%s" % (name, group), "objectClass: msExchPrivateMDB",
              "cn: " + name, "objectGUID:: " + guid(name),
              "msExchEDBFile: D:\\Databases\\%s\\%s.edb" % (name, name),
              "msExchESEParamLogFilePath: E:\\Logs\\" + name,
              "msExchOwningServer: CN=EX%02d,CN=Servers,%s" % (d % servers + 1, group))
    for m in range(mailboxes):
        user = "user%06d" % m
        entry("CN=User %06d,CN=Users,%s" % (m, SUFFIX), "objectClass: user",
              "cn: User %06d" % m, "objectGUID:: " + guid(user), "sAMAccountName: " + user,
              "displayName: User %06d" % m, "userPrincipalName: %s@corp.example" % user,
              "userAccountControl: 512", "mail: %s@corp.example" % user,
              "proxyAddresses: SMTP:%s@corp.example" % user,
              "proxyAddresses: smtp:%s@mail.corp.example" % user, "mailNickname: " + user,
              "homeMDB: CN=DB%03d,CN=Databases,%s" % (m % databases + 1, group),
              "msExchMailboxGuid:: " + guid("mailbox " + user), "msExchRecipientTypeDetails: 1")
    return "\n".join(out)


def run(command, env_extra):
    env = dict(os.environ)
    env.update(env_extra)
    return subprocess.run(command, env=env).returncode


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    sub = parser.add_subparsers(dest="mode", required=True)
    p_run = sub.add_parser("run")
    p_run.add_argument("--work", required=True)
    p_run.add_argument("--ldif", action="append", default=[])
    p_run.add_argument("--generate")
    p_run.add_argument("command", nargs=argparse.REMAINDER)
    p_down = sub.add_parser("down")
    p_down.add_argument("command", nargs=argparse.REMAINDER)
    p_gen = sub.add_parser("generate")
    p_gen.add_argument("sizes")
    args = parser.parse_args()

    if args.mode == "generate":
        sys.stdout.write(generated_organisation(*map(int, args.sizes.split(","))))
        return 0
    command = [c for c in args.command if c != "--"] if args.command[:1] == ["--"] else args.command
    if not command:
        parser.error("no command")
    if args.mode == "down":
        return run(command, {"KEL_DIRECTORY_SERVER": "127.0.0.1:%d" % free_port()})
    text = "".join(open(path, encoding="utf-8").read() + "\n" for path in args.ldif)
    if args.generate:
        text += generated_organisation(*map(int, args.generate.split(",")))
    with Directory(args.work) as directory:
        port = directory.start(text)
        return run(command, {"KEL_DIRECTORY_SERVER": "127.0.0.1:%d" % port,
                            "KEL_DIRECTORY_BIND": "anonymous"})


if __name__ == "__main__":
    sys.exit(main())
