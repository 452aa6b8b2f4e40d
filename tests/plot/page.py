#!/usr/bin/env python3
"""Opens a report in headless Chromium, sorts and searches a table, switches the colours, and fails on any console error
or request. In Chromium's own protocol over a pipe.

    page.py REPORT.html
"""
import json, os, shutil, subprocess, sys, tempfile

page = "file://" + os.path.abspath(sys.argv[1])
profile = tempfile.mkdtemp()
to_browser, from_us = os.pipe()
from_browser, to_us = os.pipe()


def connect():
    os.dup2(to_browser, 103)
    os.dup2(to_us, 104)
    os.dup2(103, 3)
    os.dup2(104, 4)


browser = subprocess.Popen(
    ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking",
     "--disable-component-update", "--disable-sync", "--user-data-dir=" + profile, "--remote-debugging-pipe"],
    stderr=subprocess.DEVNULL, close_fds=False, preexec_fn=connect)
os.close(to_browser)
os.close(to_us)
events, waiting, count, rest = [], {}, 0, b""


def read():
    global rest
    while b"\0" not in rest:
        block = os.read(from_browser, 1 << 16)
        assert block, "Chromium has ended"
        rest += block
    message, rest = rest.split(b"\0", 1)
    message = json.loads(message)
    if "id" in message:
        waiting[message["id"]] = message
    else:
        events.append(message)


def call(method, session=None, **parameters):
    global count
    count += 1
    message = {"id": count, "method": method, "params": parameters}
    if session:
        message["sessionId"] = session
    os.write(from_us, json.dumps(message).encode() + b"\0")
    while count not in waiting:
        read()
    answer = waiting.pop(count)
    assert "error" not in answer, answer
    return answer["result"]


def check():
    target = call("Target.createTarget", url="about:blank")["targetId"]
    session = call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    def js(code):
        answer = call("Runtime.evaluate", session, expression=code, returnByValue=True)
        assert "exceptionDetails" not in answer, answer
        return answer["result"].get("value")

    for domain in ["Page", "Runtime", "Log", "Network"]:
        call(domain + ".enable", session)
    call("Page.navigate", session, url=page)
    while not any(event["method"] == "Page.loadEventFired" for event in events):
        read()

    part = "[...document.querySelectorAll('.table')].find(t => [...t.querySelectorAll('th')]" \
        ".some(h => h.textContent == 'p-value'))"
    column = "(() => { const t = %s, c = [...t.querySelectorAll('th')]" \
        ".findIndex(h => h.textContent == 'p-value');" % part
    values = column + " return [...t.querySelectorAll('tbody tr')].filter(r => !r.hidden)" \
        ".map(r => r.cells[c].textContent); })()"
    click = column + " t.querySelectorAll('th button')[c].click();" \
        " return t.querySelectorAll('th')[c].getAttribute('aria-sort'); })()"
    before = js(values)
    assert len(before) > 3, before
    number = lambda text: float("inf") if text == "NA" else float(text)
    assert js(click) == "ascending"
    assert [number(text) for text in js(values)] == sorted(map(number, before))
    assert js(click) == "descending"
    finite = [number(text) for text in js(values) if text != "NA"]
    assert finite == sorted(finite, reverse=True)

    search = "(() => { const i = %s.querySelector('input'); i.value = %%s;" \
        " i.dispatchEvent(new Event('input')); })()" % part
    js(search % '"RS1042"')
    texts = js("[...%s.querySelectorAll('tbody tr')].filter(r => !r.hidden).map(r => r.textContent)" % part)
    assert texts and all("rs1042" in text for text in texts), texts
    shown = js("%s.querySelector('output').textContent" % part)
    assert shown == "%d of %d rows" % (len(texts), len(before)), shown
    js(search % '"no such thing"')
    assert js("%s.querySelectorAll('tbody tr:not([hidden])').length" % part) == 0
    js(search % '""')
    assert len(js(values)) == len(before)

    colours = "[getComputedStyle(document.body).backgroundColor,"\
        "getComputedStyle(document.querySelector('svg text').parentNode).fill]"
    light = js(colours)
    call("Emulation.setEmulatedMedia", session, features=[{"name": "prefers-color-scheme", "value": "dark"}])
    dark = js(colours)
    assert light != dark and light[0] == "rgb(255, 255, 255)" and dark[1] == "rgb(236, 236, 236)", (light, dark)
    js("document.getElementById('scheme').click()")
    assert js(colours) == light and js("document.getElementById('scheme').textContent") == "Colours: light"
    js("document.getElementById('scheme').click()")
    assert js(colours) == dark

    # A phone: the page is not wider than it, whatever the tables are.
    call("Emulation.setDeviceMetricsOverride", session, width=390, height=800, deviceScaleFactor=2, mobile=True)
    assert js("document.documentElement.scrollWidth") <= 390
    # Every picture says what is seen, and no name stands twice.
    assert js("[...document.querySelectorAll('svg')].every(s => s.getAttribute('role') == 'img'"
              " && s.getAttribute('aria-labelledby').split(' ').every(i =>"
              " document.getElementById(i).textContent.length > 5))")
    ids = js("[...document.querySelectorAll('[id]')].map(e => e.id)")
    assert len(ids) == len(set(ids)), sorted(i for i in ids if ids.count(i) > 1)
    loud = ("Runtime.exceptionThrown", "Runtime.consoleAPICalled", "Log.entryAdded")
    bad = [event for event in events if event["method"] in loud
           or (event["method"] == "Network.requestWillBeSent" and event["params"]["request"]["url"] != page)]
    assert not bad, bad


try:
    check()
    print("the report sorts, searches, changes its colours and asks for nothing")
finally:
    browser.kill()
    browser.wait()
    shutil.rmtree(profile, ignore_errors=True)
