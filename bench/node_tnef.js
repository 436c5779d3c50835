// Times the node-tnef package over TNEF streams in one process: the files
// are read into memory once, then each pass parses every stream into its
// attachments.
// Usage: node node_tnef.js SECONDS FILE...
// Prints, as its last line, "node-tnef <bytes> <messages> <seconds> <failures> <cpu seconds>"
// (the process's processor time; node-tnef logs a line of its own for every stream).
'use strict';
const fs = require('fs');
const tnef = require('node-tnef');

const seconds = Number(process.argv[2]);
const streams = process.argv.slice(3).map((f) => fs.readFileSync(f));
const failed = new Set();
let sink = 0;
function pass() {
  let bytes = 0;
  streams.forEach((data, i) => {
    bytes += data.length;
    tnef.parseBuffer(data, (err, content) => {
      if (err || !content) {
        failed.add(i);
        return;
      }
      for (const a of content.Attachments || []) sink += (a.Data ? a.Data.length : 0);
    });
  });
  return bytes;
}

pass();  // warm-up for the JIT (one pass: this reader is slow)
let bytes = 0, messages = 0;
const start = process.hrtime.bigint();
const cpuStart = process.cpuUsage();
let elapsed = 0;
while (elapsed < seconds) {
  bytes += pass();
  messages += streams.length;
  elapsed = Number(process.hrtime.bigint() - start) / 1e9;
}
const cpu = process.cpuUsage(cpuStart);
console.log(`node-tnef ${bytes} ${messages} ${elapsed.toFixed(3)} ${failed.size} ${((cpu.user + cpu.system) / 1e6).toFixed(3)}`);
if (sink === 42) console.log();
