// Times Apache POI's message reader (HSMF) over message files in one warmed JVM,
// in one of two modes:
//   text  the text body
//   full  subject, sender, recipients, text body and every attachment's name and data
// Usage: java -cp ... PoiRun MODE SECONDS FILE...
// Prints one line: "poi <bytes> <messages> <seconds> <failures>".
import java.io.File;
import java.util.HashSet;
import java.util.Set;

import org.apache.poi.hsmf.MAPIMessage;
import org.apache.poi.hsmf.datatypes.AttachmentChunks;
import org.apache.poi.hsmf.exceptions.ChunkNotFoundException;

public final class PoiRun {
    private static final Set<String> failed = new HashSet<>();

    // A property the message may lack: absent is not a failure.
    private interface Property {
        Object read() throws ChunkNotFoundException;
    }

    private static Object optional(Property property) {
        try {
            return property.read();
        } catch (ChunkNotFoundException e) {
            return null;
        }
    }

    private static void read(MAPIMessage message, boolean full) throws Exception {
        if (!full) {
            if (message.getTextBody() == null) throw new IllegalStateException("no text body");
            return;
        }
        optional(message::getSubject);
        optional(message::getDisplayFrom);
        optional(message::getRecipientNamesList);
        optional(message::getRecipientEmailAddressList);
        optional(message::getTextBody);
        for (AttachmentChunks attachment : message.getAttachmentFiles()) {
            if (attachment.getAttachLongFileName() != null) attachment.getAttachLongFileName().getValue();
            if (attachment.getAttachData() != null) attachment.getAttachData().getValue();
        }
    }

    private static long pass(String[] files, boolean full) {
        long bytes = 0;
        for (String f : files) {
            File file = new File(f);
            bytes += file.length();
            try (MAPIMessage message = new MAPIMessage(file)) {
                read(message, full);
            } catch (Exception | Error e) {
                failed.add(f);
            }
        }
        return bytes;
    }

    public static void main(String[] args) {
        boolean full = args[0].equals("full");
        if (!full && !args[0].equals("text")) throw new IllegalArgumentException("mode: text or full");
        double seconds = Double.parseDouble(args[1]);
        String[] files = java.util.Arrays.copyOfRange(args, 2, args.length);
        for (int i = 0; i < 3; ++i) pass(files, full);  // warm-up for the JIT
        long bytes = 0, messages = 0;
        long start = System.nanoTime();
        double elapsed = 0;
        while (elapsed < seconds) {
            bytes += pass(files, full);
            messages += files.length;
            elapsed = (System.nanoTime() - start) / 1e9;
        }
        System.out.printf("poi %d %d %.3f %d%n", bytes, messages, elapsed, failed.size());
    }
}
