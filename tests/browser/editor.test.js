// The dataset editor of `vkd edit` in a real browser: Debian's chromium, headless, driven by
// playwright-core. Needs the built vkd (VKD) and writes screenshots to SHOTS (a folder
// outside the repository). Exits 77 (skipped) when chromium or playwright-core is missing.
'use strict';

const { spawn, execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const assert = require('node:assert/strict');

const SKIP = 77;
const CHROMIUM = process.env.CHROMIUM || '/usr/bin/chromium';
const VKD = process.env.VKD;
const SHOTS = process.env.SHOTS || path.join(os.tmpdir(), 'editor-shots');

if (!VKD) { console.error('VKD must name the vkd program'); process.exit(2); }
if (!fs.existsSync(CHROMIUM)) { console.log('skipped: no ' + CHROMIUM); process.exit(SKIP); }
if (!fs.existsSync(path.join(__dirname, 'node_modules', 'playwright-core'))) {
  try {
    execFileSync('npm', ['ci', '--no-audit', '--no-fund'], { cwd: __dirname, stdio: 'inherit' });
  } catch (e) {
    console.log('skipped: playwright-core cannot be installed');
    process.exit(SKIP);
  }
}
const { chromium } = require('playwright-core');

const work = fs.mkdtempSync(path.join(os.tmpdir(), 'vkd-browser-'));
const dataset = path.join(work, 'demo.vkd');
fs.mkdirSync(SHOTS, { recursive: true });
for (const old of fs.readdirSync(SHOTS)) if (old.endsWith('.png')) fs.rmSync(path.join(SHOTS, old));

function vkd(...args) { return execFileSync(VKD, args, { encoding: 'utf8' }); }

// Starts `vkd edit` on the dataset; resolves with the process and the printed address.
function startEditor() {
  return new Promise((resolve, reject) => {
    const child = spawn(VKD, ['edit', dataset], { stdio: ['ignore', 'pipe', 'inherit'] });
    let out = '';
    child.stdout.on('data', (chunk) => {
      out += chunk;
      const m = out.match(/http:\/\/127\.0\.0\.1:\d+\/\?token=[0-9a-f]+/);
      if (m) resolve({ child, url: m[0] });
    });
    child.on('exit', (code) => reject(new Error('vkd edit ended with ' + code + ': ' + out)));
  });
}

// A browser of its own: chromium with a fresh profile folder.
async function launch() {
  const profile = fs.mkdtempSync(path.join(os.tmpdir(), 'vkd-chromium-'));
  profiles.push(profile);
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: CHROMIUM,
    headless: true,
    viewport: { width: 1280, height: 760 },
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
           '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
  browsers.push(context);
  return context;
}

async function openPage(context, url) {
  const page = context.pages()[0] || await context.newPage();
  const errors = [];
  page.on('pageerror', (e) => errors.push(String(e)));
  page.on('console', (m) => { if (m.type() === 'error') errors.push(m.text()); });
  page.errors = errors;
  await page.goto(url);
  await page.waitForSelector('#table tbody tr');
  return page;
}

async function showPage(page, title) {
  await page.click(`#tree li:text-is("${title}")`);
  await page.waitForFunction((t) => document.getElementById('title').textContent === t, title);
}

// Waits for the message box of the library and returns its caption and text; presses the
// first button.
async function takeBox(page, shot) {
  await page.waitForSelector('#box[open]');
  const caption = await page.textContent('#box-caption');
  const text = await page.textContent('#box-text');
  if (shot) await page.screenshot({ path: path.join(SHOTS, shot) });
  await page.click('#box-buttons button');
  await page.waitForSelector('#box:not([open])', { state: 'attached' });
  return { caption, text };
}

const tests = [];
function test(name, fn) { tests.push({ name, fn }); }

const profiles = [];
const browsers = [];
let editor, second, page;

test('opens a dataset and shows every page', async () => {
  const titles = await page.$$eval('#tree li', (lis) => lis.map((li) => li.textContent));
  assert.ok(titles.includes('Property definitions') && titles.includes('Product groups'));
  for (const [i, title] of titles.entries()) {
    await showPage(page, title);
    if (title === 'Product groups') {
      await page.click('#groups div:has-text("(") >> nth=0');
      await page.waitForSelector('#table tbody tr');
    }
    if (title === '2D symbols' || title === 'Blocks') {
      await page.click('#table tbody tr >> nth=0');
      await page.waitForSelector('#picture img');
    }
    await page.waitForTimeout(200);
    await page.screenshot({ path: path.join(SHOTS, `page-${i + 1}.png`) });
  }
  assert.deepEqual(page.errors, []);
});

test('a property definition added in the page is in the file', async () => {
  await showPage(page, 'Property definitions');
  await page.click('#add');
  await page.fill('#f-name', 'Length');
  await page.fill('#f-desc', 'Duct length');
  await page.selectOption('#f-type', '5');
  await page.selectOption('#f-unit', '12');
  await page.fill('#f-decimals', '2');
  await page.screenshot({ path: path.join(SHOTS, 'property-form.png') });
  await page.click('#save');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  const listed = vkd('list', dataset, 'properties');
  assert.match(listed, /Length\s+.*Duct length/);
  assert.match(listed, /\[m\]/);
});

test('a refused name shows the library\'s message', async () => {
  await page.click('#add');
  await page.fill('#f-name', 'A;B');
  await page.click('#save');
  const box = await takeBox(page, 'refused-name.png');
  assert.equal(box.caption, 'Invalid Property Name');
  assert.match(box.text, /^Property name cannot contain any of the following characters:/);
  assert.equal(await page.inputValue('#f-name'), 'A;B');  // what was typed is kept
  assert.doesNotMatch(vkd('list', dataset, 'properties'), /A;B/);
});

test('deleting a definition that a product uses is refused', async () => {
  await page.click('#table tbody tr:has(td:text-is("Width"))');
  await page.click('#delete');
  const box = await takeBox(page, 'delete-refused.png');
  assert.equal(box.caption, 'Cannot Delete');
  assert.match(box.text, /Product definitions/);
  assert.match(vkd('list', dataset, 'properties'), /Width/);
});

test('the format preview changes while the format is typed', async () => {
  await showPage(page, 'Dimension text formats');
  await page.click('#table tbody tr >> nth=0');
  await page.waitForSelector('#preview img');
  const before = await page.getAttribute('#preview img', 'src');
  await page.click('#fmt');
  await page.keyboard.press('End');
  await page.keyboard.type(' {Flow}');
  await page.waitForFunction((old) => {
    const img = document.querySelector('#preview img');
    return img && img.getAttribute('src') !== old;
  }, before);
  await page.screenshot({ path: path.join(SHOTS, 'format-preview.png') });
  const after = await page.getAttribute('#preview img', 'src');
  assert.notEqual(after, before);
  assert.match(decodeURIComponent(after), /<svg/);
});

test('a LIN file is imported by upload', async () => {
  await showPage(page, 'Linetypes');
  const lin = path.join(work, 'border.lin');
  fs.writeFileSync(lin, '*BORDER,Border __ . __ . __\nA,.5,-.25,0,-.25\n');
  await page.setInputFiles('#upload', lin);
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Imported'));
  await page.waitForSelector('#table tbody tr:has(td:text-is("BORDER"))');
  await page.screenshot({ path: path.join(SHOTS, 'lin-upload.png') });
  assert.match(vkd('list', dataset, 'linetypes'), /BORDER/);
});

test('a product\'s property is found, changed and saved', async () => {
  await showPage(page, 'Product groups');
  await page.click('#groups div:has-text("Rectangular")');
  await page.click('#table tbody tr:has(td:text-is("Rectangular duct 400x200"))');
  await page.waitForSelector('#d-properties input[data-property="Width"]');
  await page.fill('#d-properties input[data-property="Width"]', '450');
  await page.click('#d-save');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  await page.waitForSelector('#table tbody tr:has(td:has-text("Width=450, Height=200"))');
  await page.screenshot({ path: path.join(SHOTS, 'product-saved.png') });
  assert.match(vkd('list', dataset, 'products'), /Width=450/);
});

test('a duct definition is added with a property, changed and deleted', async () => {
  await showPage(page, 'Duct definitions');
  await page.waitForSelector('#table tbody tr');
  await page.click('#add');
  await page.fill('#d-desc', 'Round duct 315');
  await page.selectOption('#d-add', 'Diameter');
  await page.fill('#d-properties input[data-property="Diameter"]', '315');
  await page.click('#d-save');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  await page.waitForSelector('#table tbody tr:has(td:text-is("Round duct 315"))');
  await page.screenshot({ path: path.join(SHOTS, 'poly-added.png') });
  assert.match(vkd('list', dataset, 'polydefs'), /Round duct 315 .*Diameter=315/);
  // A property taken off and a colour given, in one save.
  await page.click('#d-properties .property[data-property="Diameter"] button');
  await page.fill('#d-color', '3');
  await page.click('#d-save');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  const row = vkd('list', dataset, 'polydefs').split('\n').find((l) => l.includes('Round duct 315'));
  assert.doesNotMatch(row, /Diameter/);
  await page.click('#d-delete');
  await takeBox(page);
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Deleted'));
  assert.doesNotMatch(vkd('list', dataset, 'polydefs'), /Round duct 315/);
});

test('a layer changed in the generic form is in the file', async () => {
  await showPage(page, 'Layers');
  await page.click('#table tbody tr:has(td:text-is("M-DUCT"))');
  await page.waitForSelector('#g-name');
  await page.fill('#g-name', 'DUCTS');
  await page.selectOption('#g-linetype', 'DASHED');
  await page.fill('#g-color', '2');
  await page.screenshot({ path: path.join(SHOTS, 'layer-form.png') });
  await page.click('#gen-save');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  await page.waitForSelector('#table tbody tr:has(td:text-is("DUCTS"))');
  assert.match(vkd('list', dataset, 'layers'), /DUCTS.*DASHED/);
});

test('a refused layer name is answered and what was typed stays', async () => {
  await page.fill('#g-name', 'A/B');
  await page.click('#gen-save');
  const box = await takeBox(page, 'layer-refused.png');
  assert.match(box.text, /must not hold/);
  assert.equal(await page.inputValue('#g-name'), 'A/B');
  assert.doesNotMatch(vkd('list', dataset, 'layers'), /A\/B/);
});

test('a linetype in use is kept, an unused one is deleted', async () => {
  await showPage(page, 'Linetypes');
  await page.click('#table tbody tr:has(td:text-is("DASHED"))');
  await page.click('#gen-delete');
  const box = await takeBox(page, 'linetype-in-use.png');
  assert.equal(box.caption, 'Cannot Delete');
  // The source of the merge below: the dataset as it is now, BORDER included.
  fs.copyFileSync(dataset, path.join(work, 'source.vkd'));
  await page.click('#table tbody tr:has(td:text-is("BORDER"))');
  await page.click('#gen-delete');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Deleted'));
  const listed = vkd('list', dataset, 'linetypes');
  assert.match(listed, /DASHED/);
  assert.doesNotMatch(listed, /BORDER/);
});

test('a merge is compared, its actions changed, applied and reported', async () => {
  await showPage(page, 'Merge a dataset');
  await page.setInputFiles('#merge-file', path.join(work, 'source.vkd'));
  const action = '#merge-table select[aria-label="Action for BORDER"]';
  await page.waitForSelector(action);
  assert.equal(await page.inputValue(action), 'create');
  // Each change of an action goes to the server's plan before the next.
  const answered = () => page.waitForResponse((r) => r.url().includes('/api/merge/action'));
  await Promise.all([answered(), page.selectOption(action, 'skip')]);
  assert.equal(await page.inputValue(action), 'skip');
  await Promise.all([answered(), page.selectOption(action, 'create')]);
  await page.screenshot({ path: path.join(SHOTS, 'merge-compared.png') });
  await page.click('#merge-apply');
  await page.waitForSelector('#merge-report h3');
  assert.match(await page.textContent('#merge-report h3'), /^Merged: 1 created/);
  await page.screenshot({ path: path.join(SHOTS, 'merge-report.png') });
  assert.match(vkd('list', dataset, 'linetypes'), /BORDER/);
});

test('a column added to a report is stored with the report', async () => {
  await showPage(page, 'Report definitions');
  await page.click('#table tbody tr:has(td:text-is("Duct list"))');
  await page.waitForSelector('#r-columns tbody tr');
  await page.click('#r-columns tbody tr >> nth=0');
  await page.click('#rc-add');
  await page.waitForSelector('#col-dialog[open]');
  await page.selectOption('#c-property', { label: 'Manufacturer' });
  await page.fill('#c-length', '30');
  // A heading longer than a report holds stays in the dialog with the reason.
  await page.fill('#c-header1', 'Ä'.repeat(30));
  await page.click('#c-ok');
  assert.match(await page.textContent('#c-error'), /at most 59 bytes; this one has 60/);
  await page.fill('#c-header1', 'Maker');
  await page.selectOption('#c-line', '1');
  await page.screenshot({ path: path.join(SHOTS, 'report-column.png') });
  await page.click('#c-ok');
  await page.waitForSelector('#r-columns tbody tr:nth-child(2):has(td:text-is("Maker"))');
  await page.click('#gen-save');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  await page.waitForSelector('#table tbody tr:has(td:text-is("Duct list")) td:text-is("5")');
  await page.screenshot({ path: path.join(SHOTS, 'report-page.png') });
  const shown = vkd('show', dataset, 'report', '1');
  assert.match(shown, /Width[^\n]*\n[^\n]*Manufacturer, 30 wide, "Maker"/);
});

test('a report is added and, asked first, deleted', async () => {
  await page.click('#add');
  await page.fill('#g-name', 'Spare list');
  await page.click('#gen-save');
  await page.waitForSelector('#table tbody tr:has(td:text-is("Spare list"))');
  assert.match(vkd('list', dataset, 'reports'), /Spare list/);
  await page.click('#gen-delete');
  await page.waitForSelector('#box[open]');
  assert.equal(await page.textContent('#box-caption'), 'Delete Report Definition');
  await page.click('#box-buttons button[data-answer="yes"]');
  await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Deleted'));
  assert.doesNotMatch(vkd('list', dataset, 'reports'), /Spare list/);
});

test('a second browser is told of the first one\'s save and keeps what it typed', async () => {
  second = await startEditor();
  const other = await openPage(await launch(), second.url);
  // The second user starts typing, then the first one saves.
  await other.click('#add');
  await other.fill('#f-name', 'Slope');
  await showPage(page, 'Property definitions');
  await page.click('#add');
  await page.fill('#f-name', 'Elevation');
  await page.click('#save');
  await page.waitForFunction(() => document.getElementById('status').textContent.includes('Elevation'));
  // The second page asks every few seconds whether the dataset changed.
  const box = await takeBox(other, 'second-browser-told.png');
  assert.match(box.text, /Someone else has just updated file/);
  await other.waitForSelector('#table tbody tr:has(td:text-is("Elevation"))');
  assert.equal(await other.inputValue('#f-name'), 'Slope');
  await other.screenshot({ path: path.join(SHOTS, 'second-browser-reloaded.png') });
  await other.click('#save');
  await other.waitForFunction(() => document.getElementById('status').textContent.startsWith('Saved'));
  const listed = vkd('list', dataset, 'properties');
  assert.match(listed, /Elevation/);
  assert.match(listed, /Slope/);
});

(async () => {
  let failed = 0;
  try {
    vkd('new', '--sample', dataset);
    editor = await startEditor();
    page = await openPage(await launch(), editor.url);
    for (const t of tests) {
      try {
        await t.fn();
        console.log('ok - ' + t.name);
      } catch (e) {
        failed++;
        console.log('not ok - ' + t.name + '\n  ' + String(e.stack || e).split('\n').join('\n  '));
        await page.screenshot({ path: path.join(SHOTS, 'failure-' + failed + '.png') }).catch(() => {});
      }
    }
  } catch (e) {
    failed++;
    console.log('not ok - setting up: ' + (e.stack || e));
  } finally {
    for (const b of browsers) await b.close();
    for (const e of [editor, second]) if (e) e.child.kill('SIGTERM');
    fs.rmSync(work, { recursive: true, force: true });
    for (const p of profiles) fs.rmSync(p, { recursive: true, force: true });
  }
  console.log(failed ? failed + ' failed' : 'all passed; screenshots in ' + SHOTS);
  process.exit(failed ? 1 : 0);
})();
