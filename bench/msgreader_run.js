// Times @kenjiuno/msgreader over message files, in one process, in one of two modes:
//   text  the plain body, or the HTML body through html-to-text when there is none
//   full  the whole parse: getFileData() and getAttachment() of every attachment
// Usage: node msgreader_run.js MODE SECONDS FILE...
// Prints one line: "msgreader <bytes> <messages> <seconds> <failures>".
'use strict';
const fs = require('fs');
const MsgReader = require('@kenjiuno/msgreader').default;
const { convert } = require('html-to-text');

function open(bytes) {
  return new MsgReader(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length));
}

function bodyText(bytes) {
  const data = open(bytes).getFileData();
  if (data.body) return data.body;
  const html = data.bodyHtml || (data.html ? Buffer.from(data.html).toString('utf8') : '');
  return html ? convert(html, { wordwrap: false }) : '';
}

function fullParse(bytes) {
  const reader = open(bytes);
  const data = reader.getFileData();
  for (const attachment of data.attachments || []) reader.getAttachment(attachment);
  return data;
}

const modes = { text: bodyText, full: fullParse };
const read = modes[process.argv[2]];
if (!read) throw new Error(`unknown mode ${process.argv[2]}: text or full`);
const seconds = Number(process.argv[3]);
const files = process.argv.slice(4);
const failed = new Set();
function pass() {
  let bytes = 0;
  for (const f of files) {
    const content = fs.readFileSync(f);
    bytes += content.length;
    try {
      read(content);
    } catch (e) {
      failed.add(f);
    }
  }
  return bytes;
}

pass();  // warm-up
let bytes = 0, messages = 0;
const start = process.hrtime.bigint();
let elapsed = 0;
while (elapsed < seconds) {
  bytes += pass();
  messages += files.length;
  elapsed = Number(process.hrtime.bigint() - start) / 1e9;
}
console.log(`msgreader ${bytes} ${messages} ${elapsed.toFixed(3)} ${failed.size}`);
