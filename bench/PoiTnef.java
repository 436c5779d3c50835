// Times Apache POI's TNEF reader (HMEF) over TNEF streams in one warmed JVM:
// the files are read into memory once, then each pass parses every stream
// and takes its subject, body and attachments.
// Usage: java -cp ... PoiTnef SECONDS FILE...
// Prints one line: "poi-hmef <bytes> <messages> <seconds> <failures> <cpu seconds>"
// (the processor time of the decoding thread).
import java.io.ByteArrayInputStream;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.HashSet;
import java.util.Set;

import org.apache.poi.hmef.Attachment;
import org.apache.poi.hmef.HMEFMessage;

public final class PoiTnef {
    private static final Set<Integer> failed = new HashSet<>();
    private static long sink = 0;

    private static long pass(byte[][] streams) {
        long bytes = 0;
        for (int i = 0; i < streams.length; ++i) {
            bytes += streams[i].length;
            try {
                HMEFMessage message = new HMEFMessage(new ByteArrayInputStream(streams[i]));
                String subject = message.getSubject();
                String body = message.getBody();
                sink += (subject == null ? 0 : subject.length()) + (body == null ? 0 : body.length());
                for (Attachment a : message.getAttachments()) {
                    String name = a.getLongFilename() != null ? a.getLongFilename() : a.getFilename();
                    byte[] contents = a.getContents();
                    sink += (name == null ? 0 : name.length()) + (contents == null ? 0 : contents.length);
                }
            } catch (Exception | Error e) {
                failed.add(i);
            }
        }
        return bytes;
    }

    public static void main(String[] args) throws Exception {
        double seconds = Double.parseDouble(args[0]);
        byte[][] streams = new byte[args.length - 1][];
        for (int i = 1; i < args.length; ++i) streams[i - 1] = Files.readAllBytes(Paths.get(args[i]));
        for (int i = 0; i < 20; ++i) pass(streams);  // warm-up for the JIT
        ThreadMXBean threads = ManagementFactory.getThreadMXBean();
        long bytes = 0, messages = 0;
        long start = System.nanoTime(), cpuStart = threads.getCurrentThreadCpuTime();
        double elapsed = 0;
        while (elapsed < seconds) {
            bytes += pass(streams);
            messages += streams.length;
            elapsed = (System.nanoTime() - start) / 1e9;
        }
        double cpu = (threads.getCurrentThreadCpuTime() - cpuStart) / 1e9;
        System.out.printf("poi-hmef %d %d %.3f %d %.3f%n", bytes, messages, elapsed, failed.size(), cpu);
        if (sink == 42) System.out.println();
    }
}
