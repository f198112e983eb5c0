"""Shows a page in Chromium without a display, for tests: its layout, a screenshot, and the printed pages."""

import json
import os
import re
import shutil
import subprocess
import zlib

# Measures the page behind its layout and leaves the result in it. The page itself needs no script.
PROBE = """
<script>
addEventListener('load', () => {
  const box = e => { const b = e.getBoundingClientRect();
    return {left: b.left, top: b.top, right: b.right, bottom: b.bottom}; };
  const figures = [...document.querySelectorAll('figure')].map(f => ({
    caption: f.querySelector('figcaption').textContent,
    box: box(f), svg: box(f.querySelector('svg')),
    texts: [...f.querySelectorAll('text')].map(t => ({text: t.textContent, ...box(t)}))}));
  const tables = [...document.querySelectorAll('table')].map(t => ({
    rows: t.rows.length, box: box(t), holder: box(t.parentElement)}));
  const fetched = performance.getEntriesByType('resource').map(r => r.name);
  const root = document.documentElement;
  const out = document.createElement('pre');
  out.id = 'probe';
  out.textContent = JSON.stringify({figures, tables, fetched, width: innerWidth, wide: root.scrollWidth,
    high: root.scrollHeight});
  document.body.appendChild(out);
});
</script>
"""


class Browser:
    def __init__(self, folder):
        self.folder = folder
        self.program = shutil.which("chromium")
        assert self.program, "there is no chromium: scripts/install-dependencies.sh installs it"

    def _run(self, *arguments):
        """Ends in time whatever the browser does: it and its children are a group of their own."""
        data = os.path.join(self.folder, "browser")
        command = [self.program, "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--no-first-run", "--disable-background-networking", "--disable-component-update",
                   "--hide-scrollbars", f"--user-data-dir={data}", *arguments]
        environment = dict(os.environ, HOME=self.folder, XDG_RUNTIME_DIR=self.folder)
        process = subprocess.Popen(command, env=environment, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, start_new_session=True)
        try:
            out, err = process.communicate(timeout=120)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            out, err = process.communicate()
            raise AssertionError(f"the browser did not end: {err[-2000:]}")
        assert process.returncode == 0, err[-2000:]
        return out.decode()

    def measure(self, page, width, height=1200):
        probed = os.path.join(self.folder, "probed.html")
        with open(page, encoding="utf-8") as file:
            text = file.read()
        with open(probed, "w", encoding="utf-8") as file:
            file.write(text.replace("</body>", PROBE + "</body>"))
        dom = self._run(f"--window-size={width},{height}", "--dump-dom", f"file://{probed}")
        found = re.search(r'<pre id="probe">(.*?)</pre>', dom, re.S)
        assert found, dom[-2000:]
        plain = found[1].replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&")
        return json.loads(plain)

    def screenshot(self, page, width, height, picture):
        self._run(f"--window-size={width},{height}", f"--screenshot={picture}", f"file://{page}")

    def print_to(self, page, paper):
        self._run("--no-pdf-header-footer", f"--print-to-pdf={paper}", f"file://{page}")


def read_png(path):
    """Width, height and the set of bytes in the picture's lines, filters undone only in count: a blank
    picture has few."""
    with open(path, "rb") as file:
        data = file.read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    width = int.from_bytes(data[16:20], "big")
    height = int.from_bytes(data[20:24], "big")
    packed = b""
    at = 8
    while at < len(data):
        length = int.from_bytes(data[at:at + 4], "big")
        if data[at + 4:at + 8] == b"IDAT":
            packed += data[at + 8:at + 8 + length]
        at += 12 + length
    return width, height, set(zlib.decompress(packed))
