// Times Apache POI's message body text (HSMF) over message files in one warmed JVM.
// Usage: java -cp ... PoiText SECONDS FILE...
// Prints one line: "poi <bytes> <messages> <seconds> <failures>".
import java.io.File;
import java.util.HashSet;
import java.util.Set;

import org.apache.poi.hsmf.MAPIMessage;

public final class PoiText {
    private static final Set<String> failed = new HashSet<>();

    private static long pass(String[] files) {
        long bytes = 0;
        for (String f : files) {
            File file = new File(f);
            bytes += file.length();
            try (MAPIMessage message = new MAPIMessage(file)) {
                String text = message.getTextBody();
                if (text == null) failed.add(f);
            } catch (Exception | Error e) {
                failed.add(f);
            }
        }
        return bytes;
    }

    public static void main(String[] args) {
        double seconds = Double.parseDouble(args[0]);
        String[] files = java.util.Arrays.copyOfRange(args, 1, args.length);
        for (int i = 0; i < 3; ++i) pass(files);  // warm-up for the JIT
        long bytes = 0, messages = 0;
        long start = System.nanoTime();
        double elapsed = 0;
        while (elapsed < seconds) {
            bytes += pass(files);
            messages += files.length;
            elapsed = (System.nanoTime() - start) / 1e9;
        }
        System.out.printf("poi %d %d %.3f %d%n", bytes, messages, elapsed, failed.size());
    }
}
