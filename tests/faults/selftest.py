"""Plants faults in a copy of the program, one at a time, and shows that the check named with each finds it.

    selftest.py FOLDER    # where the copy is made and built; a folder of an earlier call is used again"""
import os, shutil, subprocess, sys
from pathlib import Path

# What, the file in src, what stands there, what is put in its place, the check and the modes.
FAULTS = [
    ("a write that a signal interrupts is not made again", "text/files.cpp",
     "steadily([&] { return ::write(file, bytes.data(), bytes.size()); })", "::write(file, bytes.data(), bytes.size())",
     "failing_calls gwamafilter"),
    ("nor such a read", "text/files.cpp", "steadily([=] { return ::read(file, to, bytes); })", "::read(file, to, bytes)",
     "failing_calls gwamafilter"),
    ("a failing write is not looked at", "text/files.cpp", "if (!writeSteadily(file, bytes))",
     "if (!writeSteadily(file, bytes) && bytes.empty())", "failing_calls gwamafilter"),
    ("nor a failing close", "text/files.cpp", "return ::close(file) == 0 || errno == EINTR;",
     "return ::close(file) <= 0;", "failing_calls gwamafilter"),
    ("nor a failing seek", "text/source.cpp", "if (lseek(m_file, 0, SEEK_SET) != 0)",
     "if (lseek(m_file, 0, SEEK_SET) > 0)", "failing_calls gwas3"),
    ("a failing read is told by a wrong name", "text/files.cpp", 'onFailure("read", name);',
     'onFailure("read", name + ".out");', "failing_calls gwamafilter"),
    ("what is left is written behind a failed write", "text/writer.cpp",
     "    const size_t size = m_size;\n    m_size = 0;  // first: the failure handler flushes again\n"
     "    write(m_buffer.get(), size);\n}", "    write(m_buffer.get(), m_size);\n    m_size = 0;\n}",
     "full_devices gwamafilter"),
    ("a temporary file is left behind", "text/files.cpp", "        unlink(name.c_str());\n", "", "failing_calls gwas3"),
    ("a short read at an offset is followed by one at the same", "text/files.cpp",
     "        offset += size_t(done);\n", "", "failing_calls transpose"),
    ("a run that cannot write its words ends with status 0", "main/console.cpp", "    std::_Exit(1);\n}\n\n[[noreturn]]",
     "    std::_Exit(0);\n}\n\n[[noreturn]]", "full_devices gwamafilter"),
]

source, copy = Path(__file__).resolve().parents[2], Path(sys.argv[1]).resolve()
shutil.copytree(source, copy, dirs_exist_ok=True, ignore=shutil.ignore_patterns(".git", "build*"))


def run(*command):
    return subprocess.run(command, cwd=copy, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def need(*command):
    done = run(*command)
    if done.returncode:
        sys.exit(done.stdout)


def build():
    need("cmake", "--build", "build", "--parallel", str(os.cpu_count()), "--target", "morvel", "morvel-table", "failcalls")


def passes(checks):
    return run(sys.executable, "-B", "tests/faults/faults.py", "--program", "build/morvel", "--failcalls",
               "build/tests/faults/failcalls", "--only", checks).returncode == 0


need("cmake", "-S", ".", "-B", "build", "-DMORVEL_TESTS=ON", "-DCMAKE_BUILD_TYPE=Release",
     "-DCMAKE_CXX_FLAGS_RELEASE=-O1")
build()
for checks in sorted({fault[-1] for fault in FAULTS}):
    if not passes(checks):
        sys.exit(f"Without any fault: {checks} fails")
missed = 0
for what, file, old, new, checks in FAULTS:
    path, content = copy / "src" / file, (source / "src" / file).read_text()
    if content.count(old) != 1:
        sys.exit(f"{file} has no single place for: {what}")
    path.write_text(content.replace(old, new))
    build()
    is_missed = passes(checks)
    missed += is_missed
    print(f"{'MISSED' if is_missed else 'found':7}{checks:26}{what}", flush=True)
    path.write_text(content)
print(f"{len(FAULTS) - missed} of {len(FAULTS)} planted faults found")
sys.exit(missed > 0)
