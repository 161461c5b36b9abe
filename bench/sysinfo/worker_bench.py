#!/usr/bin/env python3
"""The organisation worker's "/listmb" timed against the bare listing (the same
paged searches through the same LDAP client, nothing kept or written) and
against native ldapsearch making the same searches, on a throwaway directory.

    worker_bench.py BUILD_DIR [MAILBOXES,DATABASES ...]   (default 5000,20 50000,20)

Each program runs several times, interleaved. The machine is shared, so single
runs vary by half their time: the best run and the median are both reported,
with the CPU time of the process itself (its user and system time; the
wineserver's share is not in it).
"""
import os
import resource
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.dont_write_bytecode = True  # no __pycache__ in the source tree
sys.path.insert(0, os.path.join(ROOT, "tests", "sysinfo", "directory"))
import directory  # noqa: E402

WINE = "/usr/lib/wine/wine64"


def timed(command, env, cpu=None):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.monotonic()
    done = subprocess.run(command, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    seconds = time.monotonic() - started
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if cpu is not None:
        cpu.append(after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime)
    if done.returncode != 0:
        raise RuntimeError("%s exited %d: %s" % (command[-2:], done.returncode, done.stderr[-300:]))
    return seconds, done.stdout


def main():
    build = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "build/default")
    sizes = [tuple(map(int, s.split(","))) for s in sys.argv[2:]] or [(5000, 20), (50000, 20)]
    worker = os.path.join(build, "bin", "product", "MailServers.OnDemand.Agent.exe")
    bare = os.path.join(build, "bin", "bare_listing.exe")
    for mailboxes, databases in sizes:
        runs = 7 if mailboxes <= 10000 else 3
        with directory.Directory(os.path.join(build, "directory", "bench")) as server:
            port = server.start(directory.generated_organisation(2, databases, mailboxes))
            env = dict(os.environ, KEL_DIRECTORY_SERVER="127.0.0.1:%d" % port,
                       KEL_DIRECTORY_BIND="anonymous", KEL_DIRECTORY_PAGE_SIZE="500")
            org = "CN=Generated Org,CN=Microsoft Exchange,CN=Services,CN=Configuration," + directory.SUFFIX
            url = "ldap://127.0.0.1:%d/" % port
            native = [
                ["ldapsearch", "-x", "-LLL", "-H", url, "-E", "pr=500/noprompt", "-b", base, filt] + attrs
                for base, filt, attrs in [
                    (org, "(objectClass=msExchExchangeServer)",
                     ["cn", "objectGUID", "networkAddress", "serialNumber", "msExchCurrentServerRoles",
                      "msExchServerSite", "msExchInstallPath"]),
                    (org, "(objectClass=msExchPrivateMDB)",
                     ["cn", "objectGUID", "msExchEDBFile", "msExchESEParamLogFilePath", "msExchOwningServer"]),
                    (directory.SUFFIX, "(&(objectClass=user)(homeMDB=*))",
                     ["displayName", "cn", "proxyAddresses", "mail", "msExchMailboxGuid", "mailNickname",
                      "userPrincipalName", "msExchRecipientTypeDetails", "userAccountControl", "homeMDB"])]]
            times = {"worker": [], "bare": [], "ldapsearch": []}
            cpu = {"worker": [], "bare": [], "ldapsearch": []}
            size = 0
            for _ in range(runs):
                seconds, out = timed([WINE, worker, "/listmb"], env, cpu["worker"])
                times["worker"].append(seconds)
                size = len(out)
                if out.count(b"<mailbox>") != mailboxes:
                    raise RuntimeError("the worker listed %d mailboxes" % out.count(b"<mailbox>"))
                seconds, out = timed([WINE, bare], env, cpu["bare"])
                times["bare"].append(seconds)
                if int(out.split()[2]) != mailboxes:
                    raise RuntimeError("the bare listing saw %s" % out)
                started = time.monotonic()
                native_cpu = []
                for command in native:
                    timed(command, env, native_cpu)
                cpu["ldapsearch"].append(sum(native_cpu))
                times["ldapsearch"].append(time.monotonic() - started)
            medians = {k: statistics.median(v) for k, v in times.items()}
            best = {k: min(v) for k, v in times.items()}
            cpus = {k: statistics.median(v) for k, v in cpu.items()}
            print("%d mailboxes in %d databases, %d runs each, worker output %.1f MB"
                  % (mailboxes, databases, runs, size / 1e6))
            print("  %-11s %8s %8s %11s %9s   %s" % ("", "best s", "median s", "ms/mailbox", "cpu s", "runs (s)"))
            for name in ("ldapsearch", "bare", "worker"):
                print("  %-11s %8.3f %8.3f %11.3f %9.3f   %s" % (
                    name, best[name], medians[name], 1000 * best[name] / mailboxes, cpus[name],
                    " ".join("%.2f" % t for t in times[name])))
            print("  worker / bare listing: best %.2f, median %.2f, cpu %.2f;"
                  "  bare listing / ldapsearch: best %.1f"
                  % (best["worker"] / best["bare"], medians["worker"] / medians["bare"],
                     cpus["worker"] / cpus["bare"], best["bare"] / best["ldapsearch"]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
