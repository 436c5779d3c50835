// Converts each HTML file given on the command line with html-to-text (no
// word wrapping) three times and prints "<file> <best seconds>" per file.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

const require = createRequire(import.meta.url);
const { convert } = require('html-to-text');

for (const file of process.argv.slice(2)) {
  const html = readFileSync(file, 'utf8');
  let best = Infinity;
  for (let run = 0; run < 3; run++) {
    const start = process.hrtime.bigint();
    convert(html, { wordwrap: false });
    best = Math.min(best, Number(process.hrtime.bigint() - start) / 1e9);
  }
  console.log(`${file} ${best}`);
}
