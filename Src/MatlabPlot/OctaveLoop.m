% The program that Octave runs: reads lines from the standard input, evaluates each and answers with one line that
% starts with a mark.
%
% Reads are non-blocking, because Octave processes window events only in pause(). A read without data sets errno; at the
% end of the input errno is 0. A read just after a window is closed sometimes sets no errno either, so only several such
% reads in a row count as the end of the input. Core dumps of variables are switched off because nobody needs them.
% OSTRAVEL_PLOT_FOLDER is overwritten so that an inherited value is not used.
%
% After the end of the input Octave runs until the user has closed the last window.
crash_dumps_octave_core(false);
sighup_dumps_octave_core(false);
sigterm_dumps_octave_core(false);
setenv("OSTRAVEL_PLOT_FOLDER", pwd());
fcntl(stdin, F_SETFL, O_NONBLOCK);
ends__ = 0;
while ends__ < 5
    errno(0);
    line__ = fgetl(stdin);
    error__ = errno();
    if ischar(line__)
        ends__ = 0;
        try
            eval(line__);
            printf("\nplot-engine:done\n");
        catch failure__
            printf("\nplot-engine:failed %s\n", strrep(failure__.message, "\n", " "));
        end
        fflush(stdout);
    else
        if error__ == 0
            ends__ = ends__ + 1;
        else
            ends__ = 0;
        end
        pause(0.03);
        fclear(stdin);
    end
end
printf("\nplot-engine:done\n");
fflush(stdout);
while ! isempty(get(0, "children"))
    pause(0.2);
end
