/* A stand-in for the MP3 encoder library, with LAME's interface. It encodes nothing: it writes
   down every call in a log, keeps the samples it is handed, and answers with marker bytes, so
   that the tests see exactly what the program asks of the encoder. Built once with every entry
   point and once without the one that writes the VBR header.

   Driven by the environment:
     GROOVESMITH_FAKE_LAME_LOG      file to which each call appends a line "name value"
     GROOVESMITH_FAKE_LAME_PCM      file to which each chunk's 16-bit samples are appended
     GROOVESMITH_FAKE_LAME_FAIL_AT  the number of the encode call that fails
     GROOVESMITH_FAKE_LAME_REFUSE   when set, the settings are refused */
#include <lame/lame.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct lame_global_struct
{
    int encodeCalls;
};

static void note (const char* name, long value)
{
    const char* path = getenv ("GROOVESMITH_FAKE_LAME_LOG");
    if (path == NULL)
        return;
    FILE* log = fopen (path, "a");
    if (log == NULL)
        return;
    fprintf (log, "%s %ld\n", name, value);
    fclose (log);
}

static int setting (const char* name, long value)
{
    note (name, value);
    return 0;
}

lame_global_flags* lame_init (void)
{
    note ("lame_init", 0);
    return calloc (1, sizeof (lame_global_flags));
}

/* Every setting is written down with its value. */
#define FAKE_SETTING(name, type)                                                                                       \
    int name (lame_global_flags* f, type v)                                                                            \
    {                                                                                                                  \
        (void) f;                                                                                                      \
        return setting (#name, (long) v);                                                                              \
    }

FAKE_SETTING (lame_set_in_samplerate, int)
FAKE_SETTING (lame_set_out_samplerate, int)
FAKE_SETTING (lame_set_num_channels, int)
FAKE_SETTING (lame_set_mode, MPEG_mode)
FAKE_SETTING (lame_set_brate, int)
FAKE_SETTING (lame_set_VBR, vbr_mode)
FAKE_SETTING (lame_set_VBR_q, int)
FAKE_SETTING (lame_set_VBR_max_bitrate_kbps, int)
FAKE_SETTING (lame_set_copyright, int)
FAKE_SETTING (lame_set_original, int)
FAKE_SETTING (lame_set_error_protection, int)
FAKE_SETTING (lame_set_extension, int)
FAKE_SETTING (lame_set_strict_ISO, int)
FAKE_SETTING (lame_set_emphasis, int)
FAKE_SETTING (lame_set_disable_reservoir, int)
FAKE_SETTING (lame_set_bWriteVbrTag, int)

int lame_init_params (lame_global_flags* f)
{
    (void) f;
    note ("lame_init_params", 0);
    return getenv ("GROOVESMITH_FAKE_LAME_REFUSE") != NULL ? -1 : 0;
}

int lame_get_framesize (const lame_global_flags* f)
{
    (void) f;
    return 1152;
}

/* Each chunk comes back as 100 bytes of the letter C. */
int lame_encode_buffer_interleaved (lame_global_flags* f, short int pcm[], int samples, unsigned char* out, int size)
{
    const char* failAt = getenv ("GROOVESMITH_FAKE_LAME_FAIL_AT");
    const char* pcmPath = getenv ("GROOVESMITH_FAKE_LAME_PCM");

    f->encodeCalls++;
    note ("lame_encode_buffer_interleaved", samples);

    if (failAt != NULL && atoi (failAt) == f->encodeCalls)
        return -2;

    if (pcmPath != NULL)
    {
        FILE* file = fopen (pcmPath, "ab");
        if (file != NULL)
        {
            fwrite (pcm, sizeof (short int), (size_t) samples * 2, file);
            fclose (file);
        }
    }

    if (size < 100)
        return -1;
    memset (out, 'C', 100);
    return 100;
}

/* The flush gives 10 bytes of the letter F. */
int lame_encode_flush (lame_global_flags* f, unsigned char* out, int size)
{
    (void) f;
    note ("lame_encode_flush", size);
    if (size < 10)
        return -1;
    memset (out, 'F', 10);
    return 10;
}

#ifndef GROOVESMITH_FAKE_LAME_WITHOUT_TAG_WRITER
void lame_mp3_tags_fid (lame_global_flags* f, FILE* file)
{
    (void) f;
    (void) file;
    note ("lame_mp3_tags_fid", 0);
}
#endif

int lame_close (lame_global_flags* f)
{
    note ("lame_close", 0);
    free (f);
    return 0;
}
