// Times the mailparser package reading .eml files held in memory, in one
// process: simpleParser on every file, in passes, for SECONDS per run.
// Usage: node mailparser_read.js [--each] SECONDS FILE...
// Prints "mailparser <bytes> <messages> <seconds> <failures> <cpu seconds>"
// for all files together, or with --each one such line per file, named by
// the file. CPU seconds are the process's user and system time in the run.
'use strict';
const fs = require('fs');
const { simpleParser } = require('mailparser');

async function time(name, buffers, seconds) {
  const failed = new Set();
  async function pass() {
    let bytes = 0;
    for (const [i, b] of buffers.entries()) {
      try {
        await simpleParser(b);
      } catch (e) {
        failed.add(i);
      }
      bytes += b.length;
    }
    return bytes;
  }
  await pass();  // warm-up
  let bytes = 0, messages = 0, elapsed = 0;
  const cpu = process.cpuUsage();
  const start = process.hrtime.bigint();
  while (elapsed < seconds) {
    bytes += await pass();
    messages += buffers.length;
    elapsed = Number(process.hrtime.bigint() - start) / 1e9;
  }
  const used = process.cpuUsage(cpu);
  console.log(`${name} ${bytes} ${messages} ${elapsed.toFixed(3)} ${failed.size} ${((used.user + used.system) / 1e6).toFixed(3)}`);
}

(async () => {
  const args = process.argv.slice(2);
  const each = args[0] === '--each';
  if (each) args.shift();
  const seconds = Number(args[0]);
  const files = args.slice(1);
  const buffers = files.map((f) => fs.readFileSync(f));
  if (!each) return time('mailparser', buffers, seconds);
  for (const [i, f] of files.entries()) await time(f, [buffers[i]], seconds);
})();
