#!/usr/bin/env python3
"""The organisation worker run under Wine against throwaway directory servers:
what it lists, what it writes for each kind of failure, and paging past the
server's size limit.

    worker_test.py WORKER.exe WORK_DIR

Prints one line per case and closes with "N passed, N failed".
"""
import base64
import concurrent.futures
import os
import socket
import subprocess
import sys
import threading
import time
import xml.etree.ElementTree as ET

sys.dont_write_bytecode = True  # no __pycache__ in the source tree
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import directory  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
WINE = "/usr/lib/wine/wine64"
WORKER = os.path.abspath(sys.argv[1])
WORK = os.path.abspath(sys.argv[2])
SMALL = open(os.path.join(HERE, "small_org.ldif"), encoding="utf-8").read()


def run_worker(switch, env, timeout=120, extra=()):
    full = {k: v for k, v in os.environ.items() if not k.startswith("KEL_DIRECTORY_")}
    full.update(env)
    started = time.monotonic()
    done = subprocess.run([WINE, WORKER, switch] + list(extra), env=full, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=timeout)
    return done.returncode, done.stdout, done.stderr.decode("utf-8", "replace"), time.monotonic() - started


LISTS = ("databases", "mailboxes")


def leaves(element):
    """An element's leaves as {tag: value}; the list containers as lists, other
    containers as nested dicts."""
    out = {}
    for child in element:
        if child.tag in LISTS:
            out[child.tag] = [leaves(item) for item in child]
        elif len(child):
            out[child.tag] = leaves(child)
        else:
            out[child.tag] = child.get("value")
    return out


def exited(code, win32):
    """Wine hands a Unix parent only the low byte of a Windows exit code; the
    whole code is in the worker's error line (and in the module's outcome,
    which the kelhost tests check)."""
    return code == win32 & 0xFF


def server_env(port, **extra):
    env = {"KEL_DIRECTORY_SERVER": "127.0.0.1:%d" % port, "KEL_DIRECTORY_BIND": "anonymous"}
    env.update(extra)
    return env


# As slapd writes entry DNs: attribute types in lower case.
ORG_DN = ("cn=Zürich & Söhne AG,cn=Microsoft Exchange,cn=Services,cn=Configuration,"
          "dc=corp,dc=example")

SMALL_STRUCTURE = [
    {"name": "EX01", "fqdn": "ex01.corp.example", "version": "15.1 (Build 2507.6)",
     "roles": "Mailbox, ClientAccess, HubTransport", "site": "Default-First-Site-Name",
     "installPath": "C:\\Program Files\\Microsoft\\Exchange Server\\V15",
     "guid": "c6cd4b8e-7248-5c6c-91d7-bef34e12bcf9",
     "databases": [
         {"name": "DB \"Ost\", Graz", "edbFilePath": "D:\\Databases\\Ost <Graz>\\Ost & Graz.edb",
          "server": "EX01", "guid": "e9ec4508-eb0a-57fd-baf6-1e60b984ff12", "mailboxCount": "3",
          "mailboxes": [
              {"displayName": "  Pat\tO'Neil ]]><!-- -->\r\nDesk 2  ", "primarySmtpAddress": "pat@corp.example",
               "alias": "pat", "userPrincipalName": "pat@corp.example", "recipientType": "UserMailbox",
               "accountDisabled": "false"},
              {"displayName": "Chloé <Boss> & 'Co' \"Q\"", "primarySmtpAddress": "chloe@corp.example",
               "mailboxGuid": "8ce62943-6173-541e-98b3-745ca61c4844", "alias": "chloe",
               "userPrincipalName": "chloe@corp.example", "recipientType": "SharedMailbox",
               "accountDisabled": "false"},
              {"displayName": "Raum 1", "primarySmtpAddress": "raum1@corp.example",
               "mailboxGuid": "bcbdd083-00bb-5bdf-a588-3163144b73da", "alias": "raum1",
               "recipientType": "RoomMailbox", "accountDisabled": "true"}]},
         {"name": "DB01", "edbFilePath": "D:\\Databases\\DB01\\DB01.edb", "logFolderPath": "E:\\Logs\\DB01",
          "server": "EX01", "guid": "828c1740-b2bc-5ec5-8dff-dd0dc043c4af", "mailboxCount": "4",
          "mailboxes": [
              {"displayName": "Ann Archer", "primarySmtpAddress": "ann@corp.example",
               "mailboxGuid": "35f4f60d-2941-5f29-bcff-62e51c272c68", "alias": "ann",
               "userPrincipalName": "ann@corp.example", "recipientType": "UserMailbox",
               "accountDisabled": "false"},
              {"displayName": "Björn Łukasiewicz-Ørsted", "primarySmtpAddress": "bjorn@corp.example",
               "mailboxGuid": "e152d0e7-9b66-55f8-95fc-049109fb4044", "alias": "bjorn",
               "userPrincipalName": "bjorn@corp.example", "recipientType": "UserMailbox",
               "accountDisabled": "false"},
              {"displayName": "Dana 🚀", "primarySmtpAddress": "dana@corp.example",
               "mailboxGuid": "05f683ba-b6b9-52a1-9394-c0f8c9b8f74f", "alias": "dana",
               "userPrincipalName": "dana@corp.example", "recipientType": "UserMailbox",
               "accountDisabled": "true"},
              {"displayName": "山田 太郎", "primarySmtpAddress": "yamada@corp.example",
               "mailboxGuid": "94fd38b9-7491-5b0c-975e-8e5c30eaa69c", "alias": "yamada",
               "userPrincipalName": "yamada@corp.example", "recipientType": "UserMailbox",
               "accountDisabled": "false"}]},
         {"name": "Empty DB", "edbFilePath": "D:\\Databases\\Empty\\Empty.edb", "server": "EX01",
          "guid": "615b0111-bda6-5051-a36e-a85aec57365a", "mailboxCount": "0", "mailboxes": []}]},
    {"name": "EX02", "fqdn": "edge.dmz.example", "version": "15.2 (Build 1118.7)",
     "roles": "EdgeTransport", "guid": "2c8cfc0d-46ab-5227-9ff9-15aa71ff8384", "databases": []},
]

class Cases:
    def __init__(self):
        self.passed = 0
        self.failed = 0

    def check(self, name, condition, detail=""):
        if condition:
            self.passed += 1
            print("ok      %s" % name)
        else:
            self.failed += 1
            print("FAILED  %s %s" % (name, detail))


def one_line_error(stderr, code, has):
    lines = stderr.strip().splitlines()
    return (len(lines) == 1 and lines[0].startswith("MailServers.OnDemand.Agent: ")
            and lines[0].endswith("(error %d)" % code) and has in lines[0])


def silent_server():
    """Accepts connections and never answers."""
    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.bind(("127.0.0.1", 0))
    listener.listen(4)
    held = []

    def accept():
        while True:
            try:
                held.append(listener.accept()[0])
            except OSError:
                return
    threading.Thread(target=accept, daemon=True).start()
    return listener, held


def main():
    cases = Cases()

    with directory.Directory(os.path.join(WORK, "small")) as server:
        port = server.start(SMALL)
        code, out, err, _ = run_worker("/listmb", server_env(port))
        cases.check("small organisation: /listmb exits 0", code == 0, "%d %s" % (code, err))
        try:
            root = ET.fromstring(out)
            listed = [leaves(s) for s in root] if root.tag == "servers" else None
        except ET.ParseError as e:
            listed = "not well-formed: %s" % e
        cases.check("small organisation: servers, databases and mailboxes as in the directory",
                    listed == SMALL_STRUCTURE, "\n got %r\nwant %r" % (listed, SMALL_STRUCTURE))

        code, out, err, _ = run_worker("/orgConfig", server_env(port))
        cases.check("small organisation: /orgConfig exits 0", code == 0, "%d %s" % (code, err))
        try:
            config = leaves(ET.fromstring(out))
        except ET.ParseError as e:
            config = {"error": str(e)}
        want = {
            "organization": {"name": "Zürich & Söhne AG", "guid": "51d48700-4aee-5a5d-a8a5-27a5c1471ac6",
                             "distinguishedName": ORG_DN},
            "acceptedDomains": {"all": "corp.example, odd.example, partner.example, relay.example, "
                                "second.example, zürich.example",
                                "default": "corp.example",
                                "authoritative": "corp.example, zürich.example",
                                "internalRelay": "partner.example, second.example",
                                "externalRelay": "relay.example"},
            "transport": {"maxSendSizeKB": "35840", "maxReceiveSizeKB": "36864",
                          "maxRecipientsPerMessage": "500", "internalSmtpServers": "10.0.0.5, 10.0.0.6"},
            "exchangeServers": {"count": "2", "names": "EX01, EX02"},
            "directory": {"server": "dc01.corp.example", "defaultNamingContext": "DC=corp,DC=example",
                          "configurationNamingContext": "CN=Configuration,DC=corp,DC=example"},
        }
        cases.check("small organisation: configuration", config == want,
                    "\n got %r\nwant %r" % (config, want))

        code, _, err, _ = run_worker("/listmb", server_env(
            port, KEL_DIRECTORY_BIND="simple", KEL_DIRECTORY_USER=directory.ADMIN_DN,
            KEL_DIRECTORY_PASSWORD=directory.ADMIN_PASSWORD))
        cases.check("simple bind with the right password lists", code == 0, "%d %s" % (code, err))
        code, out, err, _ = run_worker("/listmb", server_env(
            port, KEL_DIRECTORY_BIND="simple", KEL_DIRECTORY_USER=directory.ADMIN_DN,
            KEL_DIRECTORY_PASSWORD="wrong"))
        cases.check("bind refused: 1326, one line on standard error, nothing on standard output",
                    exited(code, 1326) and out == b"" and one_line_error(err, 1326, "refused"), "%d %r" % (code, err))

        # A setting not understood stops the worker before it goes anywhere.
        refused = [("SERVER", v) for v in ("host:", "host:0", "host:65536", "host:389x", ":389", "fe80::1",
                                           "[fe80::1", "[::1]389", "ldap://host", "two words")]
        refused += [("BIND", "kerberos"), ("BIND", ""), ("BIND", "simple")]  # simple without a user
        refused += [("TIMEOUT", v) for v in ("0", "3601", "-5", "4294967297")]
        refused += [("PAGE_SIZE", v) for v in ("0", "5001", "")]

        def refuse(row):
            name = "KEL_DIRECTORY_" + row[0]
            return row, name, run_worker("/listmb", server_env(port, **{name: row[1]}))
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            for row, name, (code, out, err, _) in pool.map(refuse, refused):
                cases.check("a setting not understood, %s=%r: 1610, named on standard error" % row,
                            exited(code, 1610) and out == b"" and one_line_error(err, 1610, name),
                            "%d %r" % (code, err))
        code, out, err, _ = run_worker("/listmb", server_env(port), extra=["stopEventName=NOSUCHEVENT"])
        cases.check("a stop event that does not exist: 2, named on standard error",
                    exited(code, 2) and out == b"" and one_line_error(err, 2, "NOSUCHEVENT"),
                    "%d %r" % (code, err))
        code, out, err, _ = run_worker("/list", server_env(port))
        cases.check("a command line not understood: 87", exited(code, 87) and one_line_error(err, 87, "/list"),
                    "%d %r" % (code, err))

    # Raw directory values of every shape, as an administrator reads them: roles
    # (bits without a role), the host of the TCP network address, versions,
    # GUIDs of the wrong length, which address is primary, recipient types.
    with directory.Directory(os.path.join(WORK, "values")) as server:
        group = ("CN=Exchange Administrative Group (FYDIBOHF23SPDLT),CN=Administrative Groups,"
                 "CN=Generated Org,CN=Microsoft Exchange,CN=Services,CN=Configuration," + directory.SUFFIX)
        # 17 bytes in base64; its first 20 characters are the first 15 bytes.
        octets = base64.b64encode(bytes(range(1, 18))).decode
        servers = {  # name: (attributes, what the worker writes besides the name)
            "V1": (["msExchCurrentServerRoles: 0", "networkAddress: NCACN_IP_TCP:V1.CORP.EXAMPLE",
                    "serialNumber: version 8.3", "objectGUID:: " + octets()[:20]],
                   {"fqdn": "V1.CORP.EXAMPLE", "version": "8.3"}),
            "V2": (["msExchCurrentServerRoles: 2", "networkAddress: ncacn_ip_tcp:", "serialNumber: 15.2",
                    "objectGUID:: " + octets()], {"roles": "Mailbox", "version": "15.2"}),
            "V3": (["msExchCurrentServerRoles: 16400", "networkAddress: netbios:V3",
                    "networkAddress: ncacn_spx:x"], {"roles": "UnifiedMessaging, FrontendTransport"}),
            "V4": (["msExchCurrentServerRoles: 137"], {}),
        }
        mailboxes = {  # display name: (attributes, what the worker writes besides name and state)
            "Marked": (["proxyAddresses: smtp:alt@x", "proxyAddresses: X500:/o=x", "proxyAddresses: SMTP:main@x",
                        "mail: other@x", "msExchRecipientTypeDetails: 2", "msExchMailboxGuid:: " + octets()[:20]],
                       {"primarySmtpAddress": "main@x", "recipientType": "LinkedMailbox"}),
            "Mail": (["proxyAddresses: smtp:alt@x", "mail: mail@x", "msExchRecipientTypeDetails: 32"],
                     {"primarySmtpAddress": "mail@x", "recipientType": "EquipmentMailbox"}),
            "Unmarked": (["proxyAddresses: X400:c=x", "proxyAddresses: smtp:alt@x", "msExchRecipientTypeDetails: 8"],
                         {"primarySmtpAddress": "alt@x", "recipientType": "8"}),
            "Sip": (["proxyAddresses: SIP:main@x", "msExchRecipientTypeDetails: 2147483648"],
                    {"recipientType": "2147483648"}),
            "Empty": (["proxyAddresses: SMTP:", "mail: e@x"], {"primarySmtpAddress": "e@x"}),
        }
        ldif = [directory.generated_organisation(1, 1, 0)]
        for name, (attributes, _) in servers.items():
            ldif.append("dn: CN=%s,CN=Servers,%s\nobjectClass: msExchExchangeServer\ncn: %s\n%s\n"
                        % (name, group, name, "\n".join(attributes)))
        for name, (attributes, _) in mailboxes.items():
            ldif.append("dn: CN=%s,CN=Users,%s\nobjectClass: user\ncn: %s\ndisplayName: %s\n"
                        "homeMDB: CN=DB001,CN=Databases,%s\n%s\n"
                        % (name, directory.SUFFIX, name, name, group, "\n".join(attributes)))
        port = server.start("\n".join(ldif))
        code, out, err, _ = run_worker("/listmb", server_env(port))
        try:
            listed = {s["name"]: s for s in (leaves(e) for e in ET.fromstring(out))}
        except ET.ParseError as e:
            listed = {"not well-formed": str(e)}
        for name, (_, written) in servers.items():
            want = dict(written, name=name, databases=[])
            cases.check("raw values: server %s" % name, code == 0 and listed.get(name) == want,
                        "\n got %r\nwant %r" % (listed.get(name), want))
        listed = {m["displayName"]: m for d in listed.get("EX01", {}).get("databases", []) for m in d["mailboxes"]}
        for name, (_, written) in mailboxes.items():
            want = dict(written, displayName=name, accountDisabled="false")
            cases.check("raw values: mailbox %s" % name, listed.get(name) == want,
                        "\n got %r\nwant %r" % (listed.get(name), want))

    with directory.Directory(os.path.join(WORK, "no-org")) as server:
        domain_only = SMALL.split("dn: CN=Configuration,")[0]  # the domain, no configuration partition
        port = server.start(domain_only + "\n" + "\n".join(
            "dn: %s\nobjectClass: container\ncn: %s\n" % (dn, cn) for dn, cn in [
                ("CN=Configuration,DC=corp,DC=example", "Configuration"),
                ("CN=Services,CN=Configuration,DC=corp,DC=example", "Services")]))
        for switch in ("/listmb", "/orgConfig"):
            code, out, err, _ = run_worker(switch, server_env(port))
            cases.check("no organisation in the forest: %s exits 8240" % switch,
                        exited(code, 8240) and out == b"" and one_line_error(err, 8240, "no Exchange organisation"),
                        "%d %r" % (code, err))

    code, out, err, _ = run_worker("/listmb", server_env(directory.free_port()))
    cases.check("directory down: 8250 with one line", exited(code, 8250) and out == b"" and
                one_line_error(err, 8250, "cannot reach 127.0.0.1"), "%d %r" % (code, err))

    listener, held = silent_server()
    try:
        code, out, err, seconds = run_worker(
            "/listmb", server_env(listener.getsockname()[1], KEL_DIRECTORY_TIMEOUT="1"), timeout=60)
        cases.check("a server that never answers: 1460 after the timeout, not a hang",
                    exited(code, 1460) and seconds < 20 and one_line_error(err, 1460, "no answer"),
                    "%d %.1fs %r" % (code, seconds, err))
    finally:
        listener.close()
        for connection in held:
            connection.close()

    with directory.Directory(os.path.join(WORK, "paged")) as server:
        port = server.start(directory.generated_organisation(2, 3, 2500))
        code, out, err, seconds = run_worker("/listmb", server_env(port, KEL_DIRECTORY_PAGE_SIZE="300"))
        addresses = []
        try:
            for mailbox in ET.fromstring(out).iter("mailbox"):
                addresses.append(mailbox.find("primarySmtpAddress").get("value"))
        except ET.ParseError:
            pass
        cases.check("2,500 mailboxes through a size limit of 1,000: every one once (%.1f s)" % seconds,
                    code == 0 and len(addresses) == 2500 and len(set(addresses)) == 2500,
                    "%d %d %r" % (code, len(addresses), err))

    print("%d passed, %d failed" % (cases.passed, cases.failed))
    return 1 if cases.failed else 0


if __name__ == "__main__":
    sys.exit(main())
