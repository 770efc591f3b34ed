// The page of the dataset editor: a tree of pages, a table per kind of definition, an edit
// form, and the library's message boxes as dialogs. It speaks JSON to the vkd edit server.
'use strict';

const $ = (id) => document.getElementById(id);
const PRODUCT_COLUMNS = [['desc', 'Description'], ['partId', 'Part ID'], ['linetype', 'Linetype'],
                         ['color', 'Colour'], ['properties', 'Properties']];
const PAGES = [
  { kind: 'propertyDefs', title: 'Property definitions', editable: true,
    columns: [['name', 'Name'], ['desc', 'Description'], ['valueTypeName', 'Value type'],
              ['unitLabel', 'Unit'], ['decimals', 'Decimals']] },
  { kind: 'partIdFormats', title: 'Part ID formats', partIds: true },
  { kind: 'layers', title: 'Layers', form: 'Layer' },
  { kind: 'linetypes', title: 'Linetypes', form: 'Linetype',
    files: { type: 'LIN', name: 'linetypes.lin' } },
  { kind: 'textStyles', title: 'Text styles', form: 'Text style',
    files: { type: 'STY', name: 'textstyles.sty' } },
  { kind: 'dimTextFormats', title: 'Dimension text formats', preview: true },
  { kind: 'reports', title: 'Report definitions', form: 'Report definition', report: true,
    columns: [['id', 'Id'], ['name', 'Name'], ['columnCount', 'Columns'], ['listsText', 'Lists'],
              ['sortedBy', 'Sorted by'], ['style', 'Text style']] },
  { kind: 'symbols', title: '2D symbols', picture: 'symbols', form: '2D symbol' },
  { kind: 'blocks', title: 'Blocks', picture: 'blocks', form: 'Block',
    columns: [['group', 'Group'], ['desc', 'Name'], ['items', 'Items']] },
  { kind: 'groups', title: 'Product groups', products: true, columns: PRODUCT_COLUMNS },
  { kind: 'ductDefs', title: 'Duct definitions', products: true, set: true, columns: PRODUCT_COLUMNS },
  { kind: 'pipeDefs', title: 'Pipe definitions', products: true, set: true, columns: PRODUCT_COLUMNS },
  { kind: 'electricDefs', title: 'Electric cable definitions', products: true, set: true,
    columns: PRODUCT_COLUMNS },
  { kind: 'dataDefs', title: 'Data cable definitions', products: true, set: true, columns: PRODUCT_COLUMNS },
  { kind: 'merge', title: 'Merge a dataset', merge: true },
];
const PAGE_ROWS = 100;

const state = { page: null, items: [], columns: [], sort: null, editing: null,
                group: null, productsTotal: 0, productsLoading: false };

function status(text) { $('status').textContent = text || ''; }

// Shows one message box of the library and resolves with the button pressed.
function showBox(box) {
  return new Promise((resolve) => {
    $('box-caption').textContent = box.caption;
    $('box-text').textContent = box.text;
    const buttons = $('box-buttons');
    buttons.replaceChildren();
    for (const name of box.buttons) {
      const button = document.createElement('button');
      button.type = 'button';
      button.textContent = name.charAt(0).toUpperCase() + name.slice(1);
      button.dataset.answer = name;
      button.addEventListener('click', () => { $('box').close(); resolve(name); });
      buttons.append(button);
    }
    $('box').showModal();
    buttons.firstChild.focus();
  });
}

// Sends a request; shows the boxes the library raised, asks its questions and sends the
// request again with the answers. Resolves with { status, body }.
async function api(method, path, body, answers = []) {
  const init = { method, headers: {} };
  if (body !== undefined) {
    init.headers['Content-Type'] = 'application/json';
    init.body = JSON.stringify(Object.assign({}, body, { answers }));
  }
  const response = await fetch('api/' + path, init);
  let data = {};
  try { data = await response.json(); } catch (e) { data = { error: response.statusText }; }
  for (const box of data.messages || []) {
    if (!answers.length || box.buttons.length === 1) await showBox(box);
  }
  if (data.question) {
    const answer = await showBox(data.question);
    return api(method, path, body, answers.concat([answer]));
  }
  if (!response.ok && !(data.messages || []).length && data.error) {
    await showBox({ caption: 'Dataset editor', text: data.error, buttons: ['ok'] });
  }
  return { status: response.status, body: data };
}

// The JSON of an upload's answer; a refusal before the interface answers in plain text,
// which becomes the error (an upload over its limit may come back without any text).
async function readReply(response) {
  const text = await response.text();
  try { return JSON.parse(text); } catch (e) {
    const fallback = response.status === 413 ? 'The file is too large.' : response.statusText;
    return { error: text.trim() || fallback };
  }
}

function cell(text) {
  const td = document.createElement('td');
  td.textContent = text === undefined || text === null ? '' : String(text);
  return td;
}

function renderHead() {
  const row = document.createElement('tr');
  for (const [key, title] of state.columns) {
    const th = document.createElement('th');
    th.textContent = title;
    th.dataset.key = key;
    if (state.sort && state.sort.key === key) th.className = state.sort.dir > 0 ? 'asc' : 'desc';
    th.addEventListener('click', () => {
      state.sort = { key, dir: state.sort && state.sort.key === key ? -state.sort.dir : 1 };
      renderHead();
      renderRows();
    });
    row.append(th);
  }
  document.querySelector('#table thead').replaceChildren(row);
}

function visibleItems() {
  const words = $('filter').value.toLowerCase().split(/\s+/).filter((w) => w);
  let items = state.items.filter((item) => words.every((w) =>
    state.columns.some(([key]) => String(item[key] ?? '').toLowerCase().includes(w))));
  if (state.sort) {
    const { key, dir } = state.sort;
    items = items.slice().sort((a, b) => {
      const x = a[key], y = b[key];
      const c = typeof x === 'number' && typeof y === 'number' ? x - y
        : String(x ?? '').localeCompare(String(y ?? ''), undefined, { sensitivity: 'base', numeric: true });
      return c * dir;
    });
  }
  return items;
}

function renderRows() {
  const body = document.querySelector('#table tbody');
  const rows = [];
  for (const item of visibleItems()) {
    const tr = document.createElement('tr');
    for (const [key] of state.columns) tr.append(cell(item[key]));
    if (state.editing && item.id === state.editing.id) tr.className = 'selected';
    tr.addEventListener('click', () => select(item, tr));
    rows.push(tr);
  }
  body.replaceChildren(...rows);
}

function select(item, tr) {
  for (const row of document.querySelectorAll('#table tbody tr.selected')) row.className = '';
  tr.className = 'selected';
  if (state.page.editable) openForm(item);
  if (state.page.partIds) openPartIdForm(item);
  if (state.page.form) openGenForm(item);
  if (state.page.products) openProduct(item.id);
  if (state.page.picture) showPicture(state.page.picture + '/' + encodeURIComponent(item.picture).replace('%2F', '/'));
  if (state.page.preview) { $('fmt').value = item.fmt || ''; state.previewId = item.id; updatePreview(); }
}

async function loadList() {
  const { body } = await api('GET', state.page.kind);
  state.items = body.items || [];
  if (!state.page.columns) state.columns = (body.columns || []).map((c) => [c.key, c.title]);
  renderHead();
  renderRows();
}

// ---- property definitions -------------------------------------------------------------

let info = null;

function fillChoices() {
  const units = $('f-unit');
  units.replaceChildren();
  const groups = new Map();
  for (const unit of info.units) {
    const name = unit.quantity || '-';
    if (!groups.has(name)) {
      const group = document.createElement('optgroup');
      group.label = name;
      groups.set(name, group);
      units.append(group);
    }
    const option = new Option(unit.label || '(none)', unit.id);
    groups.get(name).append(option);
  }
  $('f-type').replaceChildren(...info.valueTypes.map((t) =>
    new Option(t.name === t.detail || t.id < 2 ? t.name : t.name + ' (' + t.detail + ')', t.id)));
  $('f-decimals').max = info.maxDecimals;
}

function openForm(item) {
  state.editing = item;
  $('form').hidden = false;
  $('form-title').textContent = item ? 'Property definition ' + item.id : 'New property definition';
  $('f-name').value = item ? item.name : '';
  $('f-desc').value = item ? item.desc : '';
  $('f-type').value = item ? item.valueType : 5;
  $('f-unit').value = item ? item.unit : 0;
  $('f-decimals').value = item ? item.decimals : 0;
  $('delete').disabled = !item;
  $('f-name').focus();
}

async function saveForm(event) {
  event.preventDefault();
  const fields = { name: $('f-name').value, desc: $('f-desc').value,
                   valueType: Number($('f-type').value), unit: Number($('f-unit').value),
                   decimals: Number($('f-decimals').value) };
  const editing = state.editing;
  const { status: code, body } = editing
    ? await api('PUT', 'propertyDefs/' + editing.id, fields)
    : await api('POST', 'propertyDefs', fields);
  if (body.reloaded) {
    // Another user saved: show the new content, keep what was typed in the form.
    await loadList();
    status('The dataset was read again; your entries are kept. Save again to store them.');
    return;
  }
  if (code >= 300) return;
  status('Saved "' + body.item.name + '".');
  await loadList();
  openForm(state.items.find((i) => i.id === body.item.id));
  renderRows();
}

async function deleteItem() {
  const editing = state.editing;
  if (!editing) return;
  const { status: code, body } = await api('DELETE', 'propertyDefs/' + editing.id, {});
  await loadList();
  if (code < 300) {
    status('Deleted "' + editing.name + '".');
    $('form').hidden = true;
    state.editing = null;
  } else if (body.reloaded) {
    status('The dataset was read again.');
  }
}

// ---- part ID formats -------------------------------------------------------------------

function openPartIdForm(item) {
  state.editing = item;
  $('pid-form').hidden = false;
  $('pid-title').textContent = item ? 'Part ID format ' + item.id : 'New part ID format';
  $('p-desc').value = item ? item.desc : '';
  $('p-format').value = item ? item.format : '';
  $('p-delete').disabled = !item;
  $('p-desc').focus();
}

async function savePartId(event) {
  event.preventDefault();
  const fields = { desc: $('p-desc').value, format: $('p-format').value };
  const editing = state.editing;
  const { status: code, body } = editing
    ? await api('PUT', 'partIdFormats/' + editing.id, fields)
    : await api('POST', 'partIdFormats', fields);
  if (body.reloaded) {
    await loadList();
    status('The dataset was read again; your entries are kept. Save again to store them.');
    return;
  }
  if (code >= 300) return;
  status('Saved "' + body.item.desc + '".');
  await loadList();
  openPartIdForm(state.items.find((i) => i.id === body.item.id));
  renderRows();
}

async function deletePartId() {
  const editing = state.editing;
  if (!editing) return;
  const { status: code } = await api('DELETE', 'partIdFormats/' + editing.id, {});
  await loadList();
  if (code < 300) {
    status('Deleted "' + editing.desc + '".');
    $('pid-form').hidden = true;
    state.editing = null;
  }
}

// ---- the generic form: layers, linetypes, text styles -----------------------------------
// The fields come from the server's table of each kind (info.forms); the choices of a field
// are the names of the kind it names.

const choices = {};

async function loadChoices(form) {
  for (const field of form.fields) {
    if (field.type !== 'choice') continue;
    const { body } = await api('GET', field.choices);
    choices[field.choices] = (body.items || []).map((i) => i.name);
  }
}

function fieldInput(field, value) {
  let input;
  if (field.type === 'choice') {
    input = document.createElement('select');
    const names = choices[field.choices] || [];
    for (const name of names) input.append(new Option(name, name));
    if (value !== undefined && !names.includes(value)) input.append(new Option(value, value));
  } else {
    input = document.createElement('input');
    if (field.type === 'flag') input.type = 'checkbox';
    if (field.type === 'integer' || field.type === 'real') {
      input.type = 'number';
      input.min = field.min;
      input.max = field.max;
      input.step = field.type === 'integer' ? '1' : 'any';
    }
  }
  input.id = 'g-' + field.key;
  input.name = field.key;
  if (field.type === 'flag') input.checked = !!value;
  else input.value = value === undefined || value === null ? '' : String(value);
  input.disabled = !!field.readOnly;
  return input;
}

// `values` fill the fields: the item's, or for a new item what the kind starts with.
function openGenForm(item, values = item) {
  const form = info.forms[state.page.kind];
  state.editing = item;
  $('gen-form').hidden = false;
  $('gen-title').textContent = item ? state.page.form + ' "' + (item.name || item.desc || item.id) + '"'
    : 'New ' + state.page.form.toLowerCase();
  const labels = [];
  for (const field of form.fields) {
    if (field.readOnly && !item) continue;
    const label = document.createElement('label');
    label.dataset.key = field.key;
    const input = fieldInput(field, values ? values[field.key] : (field.type === 'real' && field.min > 0 ? 1 : undefined));
    if (field.type === 'flag') { label.className = 'flag'; label.append(input, field.label); }
    else label.append(field.label + ' ', input);
    labels.push(label);
  }
  $('gen-fields').replaceChildren(...labels);
  $('gen-form').classList.toggle('report', !!state.page.report);
  $('rep-extra').hidden = !state.page.report;
  if (state.page.report) openReportParts(values);
  $('gen-delete').hidden = !form.canDelete;
  $('gen-delete').disabled = !item;
  const first = $('gen-fields').querySelector('input:not([disabled]), select');
  if (first) first.focus();
}

function genFields() {
  const fields = {};
  for (const field of info.forms[state.page.kind].fields) {
    const input = $('g-' + field.key);
    if (!input || field.readOnly) continue;
    if (field.type === 'flag') fields[field.key] = input.checked;
    else if (field.type === 'integer' || field.type === 'real') fields[field.key] = input.value === '' ? null : Number(input.value);
    else fields[field.key] = input.value;
  }
  if (state.page.report) Object.assign(fields, reportParts());
  return fields;
}

async function saveGenForm(event) {
  event.preventDefault();
  const kind = state.page.kind;
  const editing = state.editing;
  const { status: code, body } = editing
    ? await api('PUT', kind + '/' + editing.id, genFields())
    : await api('POST', kind, genFields());
  if (body.reloaded) {
    // Another user saved: the list shows the new content, the form keeps what was typed.
    await loadList();
    status('The dataset was read again; your entries are kept. Save again to store them.');
    return;
  }
  if (code >= 300) return;
  status('Saved "' + (body.item.name || body.item.desc || body.item.id) + '".');
  await loadList();
  openGenForm(state.items.find((i) => i.id === body.item.id));
  renderRows();
}

async function deleteGenItem() {
  const editing = state.editing;
  if (!editing) return;
  if (state.page.report) {
    const answer = await showBox({ caption: 'Delete Report Definition',
      text: 'Delete the report definition "' + editing.name + '"?', buttons: ['yes', 'no'] });
    if (answer !== 'yes') return;
  }
  const { status: code } = await api('DELETE', state.page.kind + '/' + editing.id, {});
  await loadList();
  if (code < 300) {
    status('Deleted "' + (editing.name || editing.id) + '".');
    $('gen-form').hidden = true;
    state.editing = null;
  }
}

// ---- report definitions: the objects listed, the sort and the columns -------------------
// The columns are changed in the page and stored with the rest of the report by Save.

let reportChoices = null;

function propertyName(id) {
  const p = reportChoices.properties.find((c) => c.id === id);
  return p ? p.name : '#' + id;
}

function lineTypeName(id) {
  const t = reportChoices.lineTypes.find((c) => c.id === id);
  return t ? t.name : String(id);
}

// A labelled box to tick, with `value`; `onChange` is called when it is ticked or not.
function tickBox(value, checked, text, onChange) {
  const label = document.createElement('label');
  label.className = 'flag';
  const box = document.createElement('input');
  box.type = 'checkbox';
  box.value = value;
  box.checked = checked;
  if (onChange) box.addEventListener('change', onChange);
  label.append(box, text);
  return label;
}

function openReportParts(values) {
  const report = values || reportChoices.defaults;
  const lists = report.lists || [];
  $('r-lists').replaceChildren(...reportChoices.entityTypes.map((e) =>
    tickBox(e.id, lists.includes(e.id), e.name, showDeviceGroups)));
  // The groups as boxes to tick, the chosen ones first; a GUID the dataset has no group of
  // any more is kept, shown as it is.
  const chosen = report.deviceGroups || [];
  const groups = reportChoices.groups.concat(chosen.filter((guid) =>
    !reportChoices.groups.some((g) => g.guid === guid)).map((guid) => ({ guid, path: guid })));
  groups.sort((a, b) => chosen.includes(b.guid) - chosen.includes(a.guid));
  $('r-groups').replaceChildren(...groups.map((g) => tickBox(g.guid, chosen.includes(g.guid), g.path)));
  showDeviceGroups();
  const sort = $('r-sort-property');
  sort.replaceChildren(new Option('(not sorted)', 0),
    ...reportChoices.properties.map((p) => new Option(p.name, p.id)));
  const sortId = report.sort ? report.sort.property : 0;
  if (sortId && !reportChoices.properties.some((p) => p.id === sortId)) sort.append(new Option('#' + sortId, sortId));
  sort.value = String(sortId);
  $('r-sort-type').replaceChildren(...reportChoices.sortTypes.map((t) => new Option(t.name, t.descending ? 'desc' : 'asc')));
  $('r-sort-type').value = report.sort && report.sort.descending ? 'desc' : 'asc';
  const height = $('g-firstRowHeight');
  if (height && report.autoFirstRowHeight) {
    height.parentElement.firstChild.textContent += '(fits the headings)';
    height.title = 'Follows the headings while it is not given another height';
  }
  state.reportColumns = (report.columns || []).map((c) => Object.assign({}, c));
  state.reportColumn = -1;
  renderReportColumns();
}

function showDeviceGroups() {
  const devices = $('r-lists').querySelector('input[value="1"]');
  $('r-groups-label').hidden = !(devices && devices.checked);
}

function renderReportColumns() {
  const rows = state.reportColumns.map((c, i) => {
    const tr = document.createElement('tr');
    const line = cell(c.lineType ? lineTypeName(c.lineType) : '');
    line.className = 'line';
    line.title = line.textContent;
    tr.append(cell(i + 1), cell(propertyName(c.property)), cell(c.length), cell(c.header1),
              cell(c.header2), line);
    if (i === state.reportColumn) tr.className = 'selected';
    tr.addEventListener('click', () => { state.reportColumn = i; renderReportColumns(); });
    tr.addEventListener('dblclick', () => { state.reportColumn = i; editReportColumn(false); });
    return tr;
  });
  document.querySelector('#r-columns tbody').replaceChildren(...rows);
  const chosen = state.reportColumn >= 0;
  $('rc-add').disabled = state.reportColumns.length >= reportChoices.maxColumns;
  $('rc-edit').disabled = $('rc-remove').disabled = !chosen;
  $('rc-up').disabled = !chosen || state.reportColumn === 0;
  $('rc-down').disabled = !chosen || state.reportColumn === state.reportColumns.length - 1;
  $('r-columns-title').textContent = 'Columns (' + state.reportColumns.length + ' of at most ' +
    reportChoices.maxColumns + ')';
}

// Opens the column dialog on a new column or on the chosen one.
function editReportColumn(adding) {
  const column = adding ? { property: reportChoices.properties[0].id, length: 10, header1: '', header2: '', lineType: 0 }
    : state.reportColumns[state.reportColumn];
  const property = $('c-property');
  property.replaceChildren(...reportChoices.properties.map((p) => new Option(p.name, p.id)));
  if (!reportChoices.properties.some((p) => p.id === column.property)) property.append(new Option('#' + column.property, column.property));
  property.value = String(column.property);
  $('c-length').value = column.length;
  $('c-header1').value = column.header1;
  $('c-header2').value = column.header2;
  const line = $('c-line');
  line.replaceChildren(...reportChoices.lineTypes.map((t) => new Option(t.name, t.id)));
  if (!reportChoices.lineTypes.some((t) => t.id === column.lineType)) line.append(new Option(String(column.lineType), column.lineType));
  line.value = String(column.lineType);
  $('c-error').textContent = '';
  $('col-title').textContent = adding ? 'New column' : 'Column ' + (state.reportColumn + 1);
  $('col-dialog').dataset.adding = adding ? '1' : '';
  $('col-dialog').showModal();
  property.focus();
}

// Takes the dialog's column into the list; a heading too long for the report stays in the
// dialog with the reason.
function takeReportColumn(event) {
  event.preventDefault();
  const bytes = (text) => new TextEncoder().encode(text).length;
  const column = { property: Number($('c-property').value), length: Number($('c-length').value),
                   header1: $('c-header1').value, header2: $('c-header2').value,
                   lineType: Number($('c-line').value) };
  for (const [key, name] of [['header1', 'Header 1'], ['header2', 'Header 2']]) {
    if (bytes(column[key]) > reportChoices.maxHeaderBytes) {
      $('c-error').textContent = name + ' holds at most ' + reportChoices.maxHeaderBytes +
        ' bytes; this one has ' + bytes(column[key]) + ' (a letter beyond ASCII takes two or more).';
      return;
    }
  }
  if (!(column.length > 0)) { $('c-error').textContent = 'The width must be a number above 0.'; return; }
  if ($('col-dialog').dataset.adding) {
    state.reportColumns.splice(state.reportColumn + 1 || state.reportColumns.length, 0, column);
    state.reportColumn = state.reportColumn >= 0 ? state.reportColumn + 1 : state.reportColumns.length - 1;
  } else {
    state.reportColumns[state.reportColumn] = column;
  }
  $('col-dialog').close();
  renderReportColumns();
}

function moveReportColumn(step) {
  const i = state.reportColumn, j = i + step;
  if (i < 0 || j < 0 || j >= state.reportColumns.length) return;
  const cols = state.reportColumns;
  [cols[i], cols[j]] = [cols[j], cols[i]];
  state.reportColumn = j;
  renderReportColumns();
}

function removeReportColumn() {
  if (state.reportColumn < 0) return;
  state.reportColumns.splice(state.reportColumn, 1);
  state.reportColumn = Math.min(state.reportColumn, state.reportColumns.length - 1);
  renderReportColumns();
}

function reportParts() {
  const lists = [...$('r-lists').querySelectorAll('input:checked')].map((b) => Number(b.value));
  const groups = lists.includes(1)
    ? [...$('r-groups').querySelectorAll('input:checked')].map((b) => b.value) : [];
  return { lists, deviceGroups: groups,
           sort: { property: Number($('r-sort-property').value), descending: $('r-sort-type').value === 'desc' },
           columns: state.reportColumns.map((c) => ({ property: c.property, length: c.length,
             header1: c.header1, header2: c.header2, lineType: c.lineType })) };
}

// ---- the merge of another dataset -------------------------------------------------------

async function openMerge() {
  $('merge-report').replaceChildren();
  const { body } = await api('GET', 'merge');
  showMerge(body.merge || null);
}

function showMerge(merge) {
  state.merge = merge;
  $('merge-apply').disabled = !merge;
  const body = document.querySelector('#merge-table tbody');
  if (!merge) {
    $('merge-summary').textContent = 'Choose the dataset whose definitions to take into this one.';
    body.replaceChildren();
    return;
  }
  const c = merge.counts;
  $('merge-summary').textContent = 'Compared with ' + merge.source + ': ' + c.onlyInSource +
    ' only in the source, ' + c.different + ' different, ' + c.equal + ' equal, ' +
    c.onlyInCurrent + ' only in this dataset.';
  const rows = merge.items.map((item) => {
    const tr = document.createElement('tr');
    const differs = cell(item.fields.map((f) => f.field + ': ' + f.source + ' / ' + f.current).join('; '));
    differs.className = 'differs';
    const select = document.createElement('select');
    select.setAttribute('aria-label', 'Action for ' + item.name);
    for (const a of item.actions) select.append(new Option(a.title, a.key));
    select.value = item.action;
    select.addEventListener('change', async () => {
      const { status: code, body: answer } = await api('PUT', 'merge/action',
        { kind: item.kind, sourceIndex: item.sourceIndex, action: select.value });
      if (code < 300) showMerge(answer.merge); else select.value = item.action;
    });
    const td = document.createElement('td');
    td.append(select);
    tr.append(cell(item.kindTitle), cell(item.name), cell(item.stateTitle), differs, td);
    return tr;
  });
  body.replaceChildren(...rows);
}

async function uploadMergeSource() {
  const file = $('merge-file').files[0];
  if (!file) return;
  const response = await fetch('api/merge/source?name=' + encodeURIComponent(file.name), {
    method: 'POST', body: file, headers: { 'Content-Type': 'application/octet-stream' } });
  const data = await readReply(response);
  for (const box of data.messages || []) await showBox(box);
  $('merge-file').value = '';
  $('merge-report').replaceChildren();
  if (!response.ok) {
    await showBox({ caption: 'Merge', text: data.error || 'Refused', buttons: ['ok'] });
    return;
  }
  showMerge(data.merge);
}

async function applyMerge() {
  const { status: code, body } = await api('POST', 'merge/apply', {});
  if (code >= 300) {
    if (body.merge) showMerge(body.merge);
    if (body.reloaded) status('The dataset was read again and compared anew; check the actions and merge again.');
    return;
  }
  showMerge(null);
  const report = body.report;
  const parts = [];
  const head = document.createElement('h3');
  head.textContent = 'Merged: ' + report.counts.create + ' created, ' + report.counts.overwrite +
    ' overwritten, ' + report.counts.map + ' mapped, ' + report.counts.skip + ' skipped';
  parts.push(head);
  for (const [kind, lines] of Object.entries(report.kinds)) {
    const shown = lines.filter((l) => !(l.action === 'map' && l.target === l.name));
    if (!shown.length) continue;
    const title = document.createElement('h4');
    title.textContent = (body.kindTitles || {})[kind] || kind;
    const list = document.createElement('ul');
    for (const l of shown) {
      const li = document.createElement('li');
      li.textContent = l.action + ' ' + l.name + (l.target && l.target !== l.name ? ' \u2192 ' + l.target : '');
      list.append(li);
    }
    parts.push(title, list);
  }
  $('merge-report').replaceChildren(...parts);
  status('The merge is stored.');
}

// ---- dimension text formats -----------------------------------------------------------

let previewTimer = null;
let previewSeq = 0;

async function updatePreview() {
  const seq = ++previewSeq;
  if (!$('fmt').value) {
    $('preview').replaceChildren();
    return;
  }
  const response = await fetch('api/dimTextFormats/preview', {
    method: 'POST', headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify({ id: state.previewId || 0, fmt: $('fmt').value }) });
  const data = await response.json();
  if (seq !== previewSeq) return;  // a later keystroke's answer decides
  const preview = $('preview');
  if (!response.ok) { preview.textContent = data.error || 'no preview'; return; }
  const img = document.createElement('img');
  img.alt = 'preview of ' + $('fmt').value;
  img.src = 'data:image/svg+xml;charset=utf-8,' + encodeURIComponent(data.svg);
  preview.replaceChildren(img);
  preview.dataset.fmt = $('fmt').value;
}

// ---- pictures of symbols and blocks ----------------------------------------------------

async function showPicture(path) {
  const { status: code, body } = await api('GET', path);
  const picture = $('picture');
  if (code >= 300) { picture.replaceChildren(); return; }
  const img = document.createElement('img');
  img.alt = 'drawing';
  img.src = 'data:image/svg+xml;charset=utf-8,' + encodeURIComponent(body.svg);
  picture.replaceChildren(img);
}

// ---- LIN and STY files ------------------------------------------------------------------------

async function uploadFile() {
  const file = $('upload').files[0];
  if (!file) return;
  const response = await fetch('api/' + state.page.kind + '/import', { method: 'POST', body: file,
    headers: { 'Content-Type': 'application/octet-stream' } });
  const data = await readReply(response);
  for (const box of data.messages || []) await showBox(box);
  if (!response.ok) {
    if (!(data.messages || []).length) await showBox({ caption: 'Import ' + state.page.files.type + ' file', text: data.error || 'Refused', buttons: ['ok'] });
  } else {
    status('Imported ' + data.report.imported + ' ' + state.page.title.toLowerCase() + ': ' + data.report.added + ' new, ' + data.report.replaced + ' replaced.');
  }
  $('upload').value = '';
  await loadList();
}

// ---- product groups, poly-object sets and products ------------------------------------

async function loadGroups() {
  const { body } = await api('GET', 'groups');
  const groups = body.items || [];
  const children = new Map();
  for (const g of groups) {
    if (!children.has(g.owner)) children.set(g.owner, []);
    children.get(g.owner).push(g);
  }
  for (const list of children.values()) list.sort((a, b) => a.order - b.order);
  const ids = new Set(groups.map((g) => g.id));
  const tree = $('groups');
  const nodes = [];
  const seen = new Set();
  const add = (g, depth) => {
    if (seen.has(g.id)) return;
    seen.add(g.id);
    const div = document.createElement('div');
    div.style.paddingLeft = depth + 'rem';
    div.textContent = g.desc + (g.products ? ' (' + g.products + ')' : '');
    if (String(g.id) === String(state.group)) div.className = 'active';
    div.addEventListener('click', () => {
      for (const n of tree.querySelectorAll('.active')) n.className = '';
      div.className = 'active';
      openGroup(g.id);
    });
    nodes.push(div);
    for (const child of children.get(g.id) || []) add(child, depth + 1);
  };
  for (const g of groups) if (!ids.has(g.owner) || g.owner === g.id) add(g, 0);
  tree.replaceChildren(...nodes);
}

// Shows the products of a group (its id) or of a poly-object set (its page's kind).
async function openGroup(owner) {
  state.group = owner;
  state.editing = null;
  $('prod-form').hidden = true;
  $('add').hidden = false;
  await reloadProducts();
}

// Reads the shown products again from their first page on; an open form keeps its entries.
async function reloadProducts() {
  if (state.group === null) return;
  state.items = [];
  state.productsTotal = 0;
  document.querySelector('#table tbody').replaceChildren();
  await loadProducts();
}

// Loads the next page of the owner's products; the table grows as it is scrolled.
async function loadProducts() {
  if (state.productsLoading || state.group === null) return;
  if (state.items.length && state.items.length >= state.productsTotal) return;
  state.productsLoading = true;
  const group = state.group;
  const query = 'products?group=' + encodeURIComponent(group) + '&offset=' + state.items.length +
    '&limit=' + PAGE_ROWS + '&filter=' + encodeURIComponent($('filter').value);
  const { body } = await api('GET', query);
  state.productsLoading = false;
  if (group !== state.group) return;
  state.productsTotal = body.total || 0;
  state.items = state.items.concat(body.rows || []);
  renderRows();
  status(state.items.length + ' of ' + state.productsTotal + ' products shown');
}

// The part ID formats, linetypes and property definitions a product chooses from.
const productChoices = { formats: [], linetypes: [], properties: [] };

async function loadProductChoices() {
  const [formats, linetypes, properties] = await Promise.all(
    [api('GET', 'partIdFormats'), api('GET', 'linetypes'), api('GET', 'propertyDefs')]);
  productChoices.formats = formats.body.items || [];
  productChoices.linetypes = (linetypes.body.items || []).map((l) => l.name);
  productChoices.properties = (properties.body.items || []).map((p) => p.name);
}

async function openProduct(id) {
  const owner = state.group;
  const { status: code, body } = await api('GET', 'products/' + encodeURIComponent(owner) + '/' + id);
  if (code >= 300) return;
  showProduct(Object.assign(body.item, { owner }));
}

function newProduct() {
  for (const row of document.querySelectorAll('#table tbody tr.selected')) row.className = '';
  showProduct({ id: 0, owner: state.group, desc: '', partIdFormat: 0, linetype: '', color: 256,
                lineWidth: 0, properties: [], available: productChoices.properties });
  $('d-desc').focus();
}

function fillSelect(select, options, value) {
  select.replaceChildren(...options.map(([v, text]) => new Option(text, v)));
  if (!options.some(([v]) => v === value)) select.append(new Option(value, value));
  select.value = value;
}

function showProduct(item) {
  state.editing = item;
  $('prod-form').hidden = false;
  $('prod-title').textContent = !item.id ? 'New product'
    : 'Product ' + item.id + (item.partId ? ' (' + item.partId + ')' : '');
  $('d-desc').value = item.desc;
  fillSelect($('d-format'), [['0', '(none)']].concat(productChoices.formats.map(
    (f) => [String(f.id), f.desc + (f.format ? ': ' + f.format : '')])), String(item.partIdFormat));
  fillSelect($('d-linetype'), [['', '(by layer)']].concat(productChoices.linetypes.map((n) => [n, n])),
    item.linetype);
  $('d-color').value = item.color;
  $('d-width').value = item.lineWidth;
  $('d-properties').replaceChildren(...item.properties.map((p) => propertyRow(p, false)));
  fillAddChoices(item.available);
  $('d-delete').hidden = !item.id;
}

// One property of the form: its value, and a button that takes it off the product.
function propertyRow(p, added) {
  const row = document.createElement('div');
  row.className = 'property';
  row.dataset.property = p.name;
  if (added) row.dataset.added = '1';
  const label = document.createElement('label');
  label.textContent = p.name + (p.unitLabel ? ' ' + p.unitLabel : '');
  const input = document.createElement('input');
  input.value = p.value;
  input.dataset.property = p.name;
  input.dataset.original = added ? '' : p.value;
  label.append(input);
  const remove = document.createElement('button');
  remove.type = 'button';
  remove.textContent = '\u00d7';
  remove.title = 'Remove ' + p.name;
  remove.addEventListener('click', () => {
    row.hidden = true;
    row.dataset.removed = '1';
    $('d-add').append(new Option(p.name, p.name));
  });
  row.append(label, remove);
  return row;
}

function fillAddChoices(names) {
  const select = $('d-add');
  select.replaceChildren(new Option('(choose a property definition)', ''),
    ...names.map((n) => new Option(n, n)));
}

function addProperty() {
  const select = $('d-add');
  const name = select.value;
  if (!name) return;
  select.remove(select.selectedIndex);
  const kept = [...$('d-properties').children].find((r) => r.dataset.property === name);
  if (kept) { kept.hidden = false; delete kept.dataset.removed; return; }
  const row = propertyRow({ name, value: '' }, true);
  $('d-properties').append(row);
  row.querySelector('input').focus();
}

function productRowOf(item) {
  return { id: item.id, desc: item.desc, partId: item.partId, linetype: item.linetype,
           color: item.color, properties: item.properties.map((p) => p.name + '=' + p.value).join(', ') };
}

async function saveProduct(event) {
  event.preventDefault();
  const item = state.editing;
  const change = { desc: $('d-desc').value, partIdFormat: Number($('d-format').value),
                   linetype: $('d-linetype').value, color: Number($('d-color').value),
                   lineWidth: Number($('d-width').value),
                   properties: {}, addProperties: [], removeProperties: [] };
  for (const row of $('d-properties').children) {
    const name = row.dataset.property;
    const input = row.querySelector('input');
    if (row.dataset.removed) {
      if (!row.dataset.added) change.removeProperties.push(name);
      continue;
    }
    if (row.dataset.added) change.addProperties.push(name);
    if (input.value !== input.dataset.original) change.properties[name] = input.value;
  }
  const owner = encodeURIComponent(item.owner);
  const { status: code, body } = item.id
    ? await api('PUT', 'products/' + owner + '/' + item.id, change)
    : await api('POST', 'products/' + owner, change);
  if (body.reloaded) {
    if (String(state.group) === String(item.owner)) await reloadProducts();
    status('The dataset was read again; your entries are kept. Save again to store them.');
    return;
  }
  if (code >= 300) return;
  showProduct(Object.assign(body.item, { owner: item.owner }));
  const row = state.items.find((r) => r.id === body.item.id);
  if (row) Object.assign(row, productRowOf(body.item));
  else { state.items.push(productRowOf(body.item)); state.productsTotal += 1; }
  renderRows();
  status('Saved "' + body.item.desc + '".');
}

async function deleteProduct() {
  const item = state.editing;
  const answer = await showBox({ caption: 'Delete Product', text: 'Delete "' + item.desc + '"?',
                                 buttons: ['yes', 'no'] });
  if (answer !== 'yes') return;
  const { status: code, body } = await api('DELETE', 'products/' + encodeURIComponent(item.owner) + '/' + item.id, {});
  if (body.reloaded) { await reloadProducts(); return; }
  if (code >= 300) return;
  $('prod-form').hidden = true;
  state.editing = null;
  state.items = state.items.filter((r) => r.id !== item.id);
  state.productsTotal -= 1;
  renderRows();
  status('Deleted "' + item.desc + '".');
}

// ---- pages ----------------------------------------------------------------------------

async function openPage(page) {
  state.page = page;
  state.sort = null;
  state.editing = null;
  state.group = null;
  state.items = [];
  state.columns = page.columns || [];
  for (const li of $('tree').children) li.className = li.dataset.kind === page.kind ? 'active' : '';
  $('title').textContent = page.title;
  $('form').hidden = true;
  $('add').hidden = !page.editable && !page.partIds && !(page.form && info.forms[page.kind].canAdd);
  $('pid-form').hidden = true;
  $('gen-form').hidden = true;
  $('merge').hidden = !page.merge;
  $('content').hidden = !!page.merge;
  $('filter').hidden = !!page.merge;
  $('prod-form').hidden = true;
  $('format-form').hidden = !page.preview;
  $('picture').hidden = !page.picture;
  $('picture').replaceChildren();
  $('upload-label').hidden = $('download').hidden = !page.files;
  if (page.files) {
    const ext = '.' + page.files.type.toLowerCase();
    $('upload').accept = ext + ',' + ext.toUpperCase();
    $('upload-text').textContent = 'Import ' + page.files.type + ' file';
    $('download').textContent = 'Export ' + page.files.type + ' file';
    $('download').href = 'api/' + page.kind + '/export';
    $('download').download = page.files.name;
  }
  $('groups').hidden = !page.products || !!page.set;
  $('filter').value = '';
  status('');
  renderHead();
  if (page.form) await loadChoices(info.forms[page.kind]);
  if (page.report) reportChoices = (await api('GET', 'reports/choices')).body;
  if (page.merge) {
    await openMerge();
  } else if (page.products) {
    document.querySelector('#table tbody').replaceChildren();
    await loadProductChoices();
    if (page.set) await openGroup(page.kind); else await loadGroups();
  } else {
    await loadList();
  }
  if (page.preview) { state.previewId = 0; $('fmt').value = ''; updatePreview(); }
}

// Asks every few seconds whether another user saved; the library's message says so and the
// page shows the new content, keeping what is typed in a form.
async function watch() {
  if ($('box').open) return;
  const { body } = await api('GET', 'status');
  if (!body.reloaded) return;
  if (state.page.merge) await openMerge();
  else if (state.page.products) {
    if (!state.page.set) await loadGroups();
    await reloadProducts();
  } else await loadList();
  status('The dataset was read again after another user saved it.');
}

async function start() {
  info = (await api('GET', 'info')).body;
  $('file').textContent = info.file;
  fillChoices();
  for (const page of PAGES) {
    const li = document.createElement('li');
    li.textContent = page.title;
    li.dataset.kind = page.kind;
    li.addEventListener('click', () => openPage(page));
    $('tree').append(li);
  }
  $('filter').addEventListener('input', () => {
    if (state.page.products) reloadProducts(); else renderRows();
  });
  $('add').addEventListener('click', () => {
    if (state.page.products) newProduct();
    else if (state.page.partIds) openPartIdForm(null);
    else if (state.page.report) openGenForm(null, reportChoices.defaults);
    else if (state.page.form) openGenForm(null);
    else openForm(null);
  });
  $('gen-form').addEventListener('submit', saveGenForm);
  $('gen-delete').addEventListener('click', deleteGenItem);
  $('gen-cancel').addEventListener('click', () => { $('gen-form').hidden = true; state.editing = null; renderRows(); });
  $('rc-add').addEventListener('click', () => editReportColumn(true));
  $('rc-edit').addEventListener('click', () => editReportColumn(false));
  $('rc-remove').addEventListener('click', removeReportColumn);
  $('rc-up').addEventListener('click', () => moveReportColumn(-1));
  $('rc-down').addEventListener('click', () => moveReportColumn(1));
  $('col-form').addEventListener('submit', takeReportColumn);
  $('c-cancel').addEventListener('click', () => $('col-dialog').close());
  $('col-form').addEventListener('input', () => { $('c-error').textContent = ''; });
  $('merge-file').addEventListener('change', uploadMergeSource);
  $('merge-apply').addEventListener('click', applyMerge);
  $('pid-form').addEventListener('submit', savePartId);
  $('prod-form').addEventListener('submit', saveProduct);
  $('d-cancel').addEventListener('click', () => { $('prod-form').hidden = true; state.editing = null; });
  $('d-delete').addEventListener('click', deleteProduct);
  $('d-add').addEventListener('change', addProperty);
  $('p-delete').addEventListener('click', deletePartId);
  $('p-cancel').addEventListener('click', () => { $('pid-form').hidden = true; state.editing = null; renderRows(); });
  $('form').addEventListener('submit', saveForm);
  $('delete').addEventListener('click', deleteItem);
  $('cancel').addEventListener('click', () => { $('form').hidden = true; state.editing = null; renderRows(); });
  $('fmt').addEventListener('input', () => {
    clearTimeout(previewTimer);
    previewTimer = setTimeout(updatePreview, 150);
  });
  $('format-form').addEventListener('submit', (e) => e.preventDefault());
  $('upload').addEventListener('change', uploadFile);
  $('content').addEventListener('scroll', () => {
    const c = $('content');
    if (state.page.products && c.scrollTop + c.clientHeight > c.scrollHeight - 200) loadProducts();
  });
  $('box').addEventListener('cancel', (e) => e.preventDefault());
  await openPage(PAGES[0]);
  setInterval(watch, 5000);
}

start();
