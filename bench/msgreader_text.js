// Times @kenjiuno/msgreader's body text over message files, in one process:
// the plain body, or the HTML body through html-to-text when there is none.
// Usage: node msgreader_text.js SECONDS FILE...
// Prints one line: "msgreader <bytes> <messages> <seconds> <failures>".
'use strict';
const fs = require('fs');
const MsgReader = require('@kenjiuno/msgreader').default;
const { convert } = require('html-to-text');

function bodyText(path) {
  const bytes = fs.readFileSync(path);
  const data = new MsgReader(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length)).getFileData();
  if (data.body) return { size: bytes.length, text: data.body };
  const html = data.bodyHtml || (data.html ? Buffer.from(data.html).toString('utf8') : '');
  return { size: bytes.length, text: html ? convert(html, { wordwrap: false }) : '' };
}

const seconds = Number(process.argv[2]);
const files = process.argv.slice(3);
const failed = new Set();
function pass() {
  let bytes = 0;
  for (const f of files) {
    try {
      bytes += bodyText(f).size;
    } catch (e) {
      failed.add(f);
      bytes += fs.statSync(f).size;
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
