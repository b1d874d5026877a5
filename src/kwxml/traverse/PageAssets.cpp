#include <kwxml/traverse/PageAssets.h>

namespace kwxml {

namespace {

/// Depth is shown by lines, which get closer where there are many: what is deep stays readable on a narrow
/// screen.
constexpr std::string_view style = R"css(
:root { color-scheme: light dark; --text: #1c1c1e; --soft: #5a5a62; --back: #fff; --box: #f3f4f7; --line: #c9ccd3;
  --link: #0b57c0; --escape: #a3003c; --changed: #fff0c2; --left: #ffe1de; --right: #d9f4dd; }
@media (prefers-color-scheme: dark) { :root { --text: #ececf0; --soft: #a9abb5; --back: #17181c; --box: #25272e;
  --line: #474a54; --link: #8ab8ff; --escape: #ff8fab; --changed: #4a3b00; --left: #56211d; --right: #143f1d; } }
* { box-sizing: border-box; }
body { display: flex; flex-direction: column; margin: 0 auto; padding: 0 1rem 3rem; max-width: 100rem;
  font: 15px/1.5 system-ui, sans-serif; color: var(--text); background: var(--back); }
body > * { min-width: 0; }
header { order: -3; }
.t { order: -2; position: sticky; top: 0; z-index: 1; display: flex; flex-wrap: wrap; gap: .4rem .8rem; align-items: center;
  padding: .5rem 0; border-bottom: 1px solid var(--line); background: var(--back); }
nav { order: -1; }
h1 { font-size: 1.5rem; margin: .8rem 0 .3rem; overflow-wrap: anywhere; }
h2 { font-size: 1.15rem; margin: 1rem 0 .3rem; }
h2, h3 { overflow-wrap: anywhere; }
summary h2, summary h3 { display: inline; font-size: 1rem; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 0 .8rem; margin: 0 0 .6rem; }
dt { color: var(--soft); }
dd { margin: 0; min-width: 0; overflow-wrap: anywhere; }
a { color: var(--link); }
button, input { font: inherit; }
:focus-visible { outline: 2px solid var(--link); outline-offset: 1px; }
main ul, ol.v { list-style: none; margin: 0; padding: 0 0 0 .6rem; border-left: 1px solid var(--line); color: var(--soft); }
main > section > ul { border: 0; padding: 2px; }
ul ul ul ul ul ul ul ul ul { padding-left: 1px; }
ul ul ul ul ul ul ul ul ul li { padding: 1px 0; }
ol.v { display: flex; flex-wrap: wrap; gap: 0 1rem; border: 0; }
ol.v > li { color: var(--text); }
ol.v > li::before { content: "[" counter(list-item) "] "; color: var(--soft); }
td > ol.v { display: block; padding: 0; }
main > .g, .g > *, main > section > ul > li > details > ul > li > details > ul { content-visibility: auto;
  contain-intrinsic-size: auto 2rem; }
.g > .w { contain-intrinsic-size: auto 100rem; }
li { overflow-wrap: anywhere; padding: 1px 2px; }
summary { cursor: pointer; overflow-wrap: anywhere; color: var(--soft); scroll-margin-top: 5rem; }
summary:hover, li:hover > b { background: var(--box); }
b, h2, h3, th { color: var(--text); }
code, q { color: var(--text); overflow-wrap: anywhere; }
q, time { background: var(--box); border-radius: 3px; padding: 0 .25em; }
q { quotes: none; border: 1px solid var(--line); white-space: pre-wrap; }
q, code { overflow: clip; overflow-clip-margin: 2px; }
q:where(:not(.n)) { display: inline-block; max-width: 100%; vertical-align: top; }
q:empty::before { content: "\200B"; }
q.n { display: block; margin: 2px 0 2px 1.2rem; padding: .1em .5em; border-left: 3px solid var(--soft); }
em { font-style: normal; color: var(--escape); border-bottom: 1px dotted; }
time { color: var(--text); }
.u { display: none; margin: 0; padding-left: .6rem; color: var(--soft); overflow-wrap: anywhere; }
.t:has(#unset:checked) ~ main .u { display: block; }
.w { overflow-x: auto; padding: 2px; }
table { border-collapse: collapse; margin: .2rem 0; }
th, td { border: 1px solid var(--line); padding: .1rem .4rem; text-align: left; vertical-align: top; }
th { font-weight: 600; background: var(--box); }
thead th { font-weight: 400; color: var(--soft); }
b { font-weight: 600; }
table, td > q, td > code { overflow-wrap: break-word; }
main table:not(.d) { width: max-content; }
td[colspan] > ul { contain: inline-size; min-width: min(30rem, 78vw); }
td td[colspan] > ul { min-width: min(25rem, 66vw); }
td { color: var(--text); }
td, thead th { white-space: nowrap; }
td[colspan], .d td, .doc td { white-space: normal; }
td > q, td > code, th > q { display: inline-block; max-width: min(40rem, 75vw); }
th > q { max-width: min(25rem, 45vw); white-space: pre-wrap; overflow-wrap: anywhere; }
main > details, main > .g > .m { border-bottom: 1px solid var(--line); padding: .2rem 0; }
.doc .w { margin-bottom: .6rem; }
.c { width: 1.6em; height: 1.6em; margin-left: .1em; padding: 0; vertical-align: -.4em; border: 1px solid transparent;
  border-radius: 3px; background: none; cursor: copy; position: relative; opacity: .8; }
.c::before, .c::after { content: ""; position: absolute; width: .5em; height: .6em; border: 1px solid var(--soft);
  border-radius: 2px; background: var(--back); }
.c::before { left: .35em; top: .35em; } .c::after { left: .57em; top: .53em; }
.c:hover, .c:focus-visible { opacity: 1; background: var(--box); }
.h { display: none !important; }
table.d { table-layout: fixed; width: 100%; margin: 0; }
table.d > * > tr > :first-child { width: 30%; } table.d > * > tr > :last-child { width: 7rem; }
table.d td, table.d th, table.d td > q, table.d td > code { overflow-wrap: anywhere; }
.changed td { background: var(--changed); } .left td { background: var(--left); } .right td { background: var(--right); }
.changed td:last-child, .left td:last-child, .right td:last-child { font-weight: 600; color: var(--text); }
@media (max-width: 40rem) {
  body { padding: 0 .5rem 3rem; }
  table.d thead { position: absolute; clip-path: inset(50%); width: 1px; height: 1px; overflow: hidden; }
  table.d tr { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr); }
  table.d td:nth-child(2)::before { content: "A "; } table.d td:nth-child(3)::before { content: "B "; }
  table.d > * > tr > :first-child, table.d > * > tr > :last-child { grid-column: 1 / 3; width: auto; }
}
)css";

/// The page is whole without it: it filters, opens, closes, copies. Buttons are made where they can be seen.
constexpr std::string_view script = R"js(
'use strict';
document.addEventListener('DOMContentLoaded', () => {
  const byId = id => document.getElementById(id);
  const main = document.querySelector('main');
  const index = byId('index');
  if (index) {
    document.querySelector('.t').after(index);
  }
  for (const control of document.querySelectorAll('.t [hidden]')) {
    control.hidden = false;
  }
  const say = text => { byId('said').textContent = text; };

  const setOpen = open => {
    for (const details of main.querySelectorAll('details')) {
      details.open = open;
    }
  };
  byId('open').addEventListener('click', () => setOpen(true));
  byId('close').addEventListener('click', () => setOpen(false));

  // A unit is what the filter shows or hides as a whole: a row of the tree or of a table, a group, a message.
  const holders = new Set(['SECTION', 'DETAILS', 'UL', 'OL', 'LI', 'DIV', 'TABLE', 'TBODY', 'TR', 'TD']);
  const isUnit = element =>
    element.tagName === 'LI' || element.tagName === 'TBODY' || element.classList.contains('g');
  const unitsIn = (element, found = []) => {
    for (const child of element.children) {
      if (isUnit(child)) {
        found.push(child);
      } else if (holders.has(child.tagName)) {
        unitsIn(child, found);
      }
    }
    return found;
  };
  const foldOf = unit => unit.tagName === 'DETAILS' ? unit : unit.querySelector(':scope > details:not(.x)');
  const columnNames = new WeakMap();
  const namesOf = table => {
    if (!columnNames.has(table)) {
      columnNames.set(table, [...table.tHead.rows[0].cells].map(cell => cell.querySelector('b')?.textContent ?? ''));
    }
    return columnNames.get(table);
  };
  const isHit = (unit, query) => {
    const has = text => text.toLowerCase().includes(query);
    if (unit.tagName === 'TBODY') {
      const names = namesOf(unit.parentElement);
      return [...unit.rows[0].cells].some(
        (cell, i) => cell.hasChildNodes() &&
          ((names[i] !== '' && has(names[i])) || (!cell.querySelector('ol') && has(cell.textContent))));
    }
    const fold = foldOf(unit);
    if (fold) {
      return !fold.matches('.g:not(.m)') && has(fold.firstElementChild.textContent);
    }
    return has(unit.querySelector(':scope > ol') ? unit.firstChild.textContent : unit.textContent);
  };
  let hidden = [], opened = [], hits = 0;
  const filter = (units, query, isTop) => {
    const shown = units.map(unit => {
      const isOwn = isHit(unit, query);
      hits += isOwn ? 1 : 0;
      const isInner = filter(unitsIn(unit), query, false);
      const fold = isInner ? foldOf(unit) : null;
      if (fold && !fold.open) {
        fold.open = true;
        opened.push(fold);
      }
      return isOwn || isInner;
    });
    const isAny = shown.includes(true);
    if (isAny || isTop) {
      units.forEach((unit, i) => {
        if (!shown[i]) {
          unit.classList.add('h');
          hidden.push(unit);
        }
      });
    }
    return isAny;
  };
  const applyFilter = () => {
    hidden.forEach(unit => unit.classList.remove('h'));
    opened.forEach(fold => { fold.open = false; });
    hidden = [];
    opened = [];
    hits = 0;
    const query = byId('filter').value.toLowerCase();
    if (query !== '') {
      filter(unitsIn(main), query, true);
    }
    say(query === '' ? '' : hits === 1 ? '1 found' : hits.toLocaleString('en') + ' found');
  };
  let timer = 0;
  byId('filter').addEventListener('input', () => {
    clearTimeout(timer);
    if (byId('filter').value === '') {
      applyFilter();
    } else {
      timer = setTimeout(applyFilter, 150);
    }
  });

  // Paths are written as differences name them: items[2].price, totals["2026-01"].
  const nameOf = label => {
    const key = label.querySelector('q');
    if (!key) {
      return label.textContent.trim();
    }
    const parts = [...key.childNodes].map(
      node => node.nodeType === Node.TEXT_NODE ? node.data.replace(/["\\]/g, '\\$&') : node.textContent);
    return '["' + parts.join('') + '"]';
  };
  const partOf = element => {
    switch (element.tagName) {
      case 'LI':
        return element.parentElement.tagName === 'OL'
          ? '[' + (element.parentElement.start + [...element.parentElement.children].indexOf(element)) + ']'
          : nameOf(element.querySelector('b'));
      case 'TBODY':
        return nameOf(element.rows[0].cells[0]);
      case 'TD':
        return element.colSpan === 1 ? namesOf(element.closest('table'))[element.cellIndex] : '';
      default:
        return '';
    }
  };
  const pathOf = element => {
    const parts = [];
    for (let at = element; at && at !== main; at = at.parentElement) {
      parts.push(partOf(at));
    }
    return parts.reverse().reduce(
      (path, part) => path + (path === '' || part === '' || part.startsWith('[') ? '' : '.') + part, '');
  };
  // The value in a row or cell; it may have no element of its own there.
  const valueIn = holder => holder.querySelector(':scope > .x > :not(summary)') ??
    holder.querySelector(':scope > q, :scope > code') ??
    (holder.matches('td, ol > li') && holder.firstChild?.nodeType === Node.TEXT_NODE ? holder.firstChild : null);
  const textOf = value => value.textContent.replaceAll('\n', '\\n');
  const copiedBy = button => {
    const holder = button.parentElement;
    if (holder.tagName === 'TH') {
      const [, left, right] = holder.parentElement.cells;
      return [holder.textContent, textOf(valueIn(left)), textOf(valueIn(right))];
    }
    return [pathOf(holder), textOf(valueIn(holder))];
  };
  const copy = async columns => {
    try {
      await navigator.clipboard.writeText(columns.join('\t'));
      say('Copied ' + columns[0]);
    } catch (error) {
      say('The browser does not allow to copy');
    }
  };
  main.addEventListener('click', event => {
    const button = event.target.closest('.c');
    if (button) {
      copy(copiedBy(button));
    }
  });
  const makeButton = name => {
    const button = document.createElement('button');
    button.type = 'button';
    button.className = 'c';
    button.title = 'Copy path and value';
    button.setAttribute('aria-label', 'Copy path and value of ' + name);
    return button;
  };
  const addButtons = element => {
    if (element.matches('li, table:not(.d) > tbody > tr > td') && valueIn(element)) {
      element.append(makeButton(pathOf(element)));
      return;
    }
    if (element.matches('.d > tbody > tr')) {
      element.cells[0].append(makeButton(element.cells[0].textContent));
      return;
    }
    for (const child of element.children) {
      if (holders.has(child.tagName) && (child.tagName !== 'DETAILS' || child.open)) {
        (child.tagName === 'DETAILS' ? enqueue : addButtons)(child);
      }
    }
  };
  // Thousands of folds may open at a time; their buttons come little by little.
  const withButtons = new WeakSet();
  const queue = [];
  let next = 0;
  const work = () => {
    const end = performance.now() + 10;
    while (next < queue.length && performance.now() < end) {
      const details = queue[next++];
      if (details.open) {
        addButtons(details);
      } else {
        withButtons.delete(details);
      }
    }
    if (next < queue.length) {
      setTimeout(work);
    } else {
      queue.length = next = 0;
    }
  };
  const enqueue = details => {
    if (!withButtons.has(details) && !details.classList.contains('x')) {
      withButtons.add(details);
      queue.push(details);
      if (queue.length === 1) {
        setTimeout(work);
      }
    }
  };
  addButtons(main);
  main.addEventListener('toggle', event => {
    if (event.target.open) {
      enqueue(event.target);
    }
  }, true);
});
)js";

/// scripts/page-digests writes them.
constexpr std::string_view styleDigest = "sha256-VQIhmwVuR24u87zFISzk27zQfjDficto2GFNJMjduNI=";
constexpr std::string_view scriptDigest = "sha256-BnJi38rVyzYU+eHdrTsMU0UTa4KRXQ5fkRjC48KKRSo=";

}  // namespace

std::string_view pageStyle()
{
  return style;
}

std::string_view pageScript()
{
  return script;
}

std::string_view pageStyleDigest()
{
  return styleDigest;
}

std::string_view pageScriptDigest()
{
  return scriptDigest;
}

}  // namespace kwxml
